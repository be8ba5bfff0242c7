#include "platform/program_file.h"

#include "unit_support.h"

namespace {

class ProgramFile : public testing::Test {
  protected:
    bool text(const std::string& bytes) const {
        return is_plain_text(here.write("file", bytes));
    }
    std::string runner(const std::string& bytes) const {
        return runner_named_by(here.write("file", bytes));
    }
    TemporaryDirectory here;
};

// A number of `size` bytes, the lowest first.
std::string number(unsigned long long value, std::size_t size) {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i, value >>= 8)
        bytes += static_cast<char>(value & 0xff);
    return bytes;
}

// A program whose table of segments lies at `table` and whose second segment is the name of its
// loader, `name`, with `entries` segments.
std::string program(bool wide, const std::string& name, unsigned entries = 2) {
    const std::size_t width = wide ? 8 : 4;
    const std::size_t table = 100;
    const std::size_t entry = wide ? 56 : 32;
    const std::size_t name_at = table + 2 * entry;
    std::string bytes = std::string("\x7f"
                                    "ELF") +
                        (wide ? '\2' : '\1');
    bytes.resize(table);
    bytes.replace(wide ? 32 : 28, width, number(table, width));
    bytes.replace(wide ? 54 : 42, 4, number(entry, 2) + number(entries, 2));
    bytes += number(1, 4) + std::string(entry - 4, '\0');
    std::string segment = number(3, 4) + std::string(entry - 4, '\0');
    segment.replace(wide ? 8 : 4, width, number(name_at, width));
    segment.replace(wide ? 32 : 16, width, number(name.size() + 1, width));
    return bytes + segment + name + '\0';
}

} // namespace

TEST_F(ProgramFile, AnythingThatCanBeTypedIsAText) {
    for (const char* bytes :
         {"exit 0\n", "x", "\n", "# \xc3\xa4\xff\n", "\a\b\t\n\v\f\r\x1b[m", "#!\n"})
        EXPECT_TRUE(text(bytes)) << bytes;
    EXPECT_TRUE(text(std::string(100000, 'x')));
}

TEST_F(ProgramFile, NothingAndBytesThatNobodyTypesAreNoText) {
    EXPECT_FALSE(text(""));
    EXPECT_FALSE(is_plain_text(here.file("missing")));
    EXPECT_FALSE(is_plain_text(here.path()));
    for (int code = 0; code < ' '; ++code) {
        const char byte = static_cast<char>(code);
        const bool typed = (code >= '\a' && code <= '\r') || code == 0x1b;
        EXPECT_EQ(text(std::string("exit 0\n") + byte), typed) << code;
    }
    EXPECT_FALSE(text("\x7f"
                      "ELF"));
}

TEST_F(ProgramFile, OnlyTheBeginningHasToBeText) {
    const std::string script = "exit 0\n" + std::string(505, ' ');
    EXPECT_TRUE(text(script + '\0'));
    EXPECT_FALSE(text(script.substr(1) + '\0'));
}

TEST_F(ProgramFile, AScriptNamesItsInterpreter) {
    EXPECT_EQ(runner("#!/bin/sh\n"), "/bin/sh");
    EXPECT_EQ(runner("#!/bin/sh"), "/bin/sh");
    EXPECT_EQ(runner("#! \t /usr/bin/env -i sh\nexit"), "/usr/bin/env");
    EXPECT_EQ(runner("#!/bin/sh\r\nexit\r\n"), "/bin/sh\r");
    EXPECT_EQ(runner("#!/bin/sh\t-e\n"), "/bin/sh");
    EXPECT_EQ(runner("#!\n/bin/sh\n"), "");
    EXPECT_EQ(runner("#!"), "");
    EXPECT_EQ(runner("#!  "), "");
    EXPECT_EQ(runner(" #!/bin/sh\n"), "");
    EXPECT_EQ(runner("# /bin/sh\n"), "");
}

TEST_F(ProgramFile, AnInterpreterIsNamedAsFarAsAnySystemReadsIt) {
    const std::string name(1024, 'x');
    EXPECT_EQ(runner("#! " + name + "\n"), name);
    EXPECT_EQ(runner("#! " + name + "x\n"), name);
}

TEST_F(ProgramFile, AProgramNamesItsLoader) {
    EXPECT_EQ(runner(program(true, "/lib64/loader")), "/lib64/loader");
    EXPECT_EQ(runner(program(false, "/lib/loader")), "/lib/loader");
    EXPECT_NE(runner_named_by("/proc/self/exe"), "");
}

TEST_F(ProgramFile, ALoaderIsNamedInTheFirst4096Bytes) {
    const std::size_t around = program(true, "").size();
    const std::string name(4096 - around, 'x');
    EXPECT_EQ(runner(program(true, name) + "more"), name);
    EXPECT_EQ(runner(program(true, name + "x") + "more"), "");
}

TEST_F(ProgramFile, APipeIsNotWaitedForAndIsNoProgram) {
    ASSERT_EQ(mkfifo(here.file("pipe").c_str(), 0600), 0);
    alarm(20); // ends this process should it wait for ever
    EXPECT_FALSE(is_plain_text(here.file("pipe")));
    EXPECT_EQ(runner_named_by(here.file("pipe")), "");
    alarm(0);
}

TEST_F(ProgramFile, AProgramThatIsCutShortOrHasNoLoaderNamesNone) {
    for (const bool wide : {true, false}) {
        const std::string whole = program(wide, "/lib/loader");
        EXPECT_EQ(runner(program(wide, "/lib/loader", 1)), "");
        for (std::size_t length = 0; length < whole.size(); ++length)
            EXPECT_EQ(runner(whole.substr(0, length)), "") << length;
    }
    EXPECT_EQ(runner(std::string("\x7f"
                                 "ELF") +
                     std::string(200, '\xff')),
              "");
    EXPECT_EQ(runner_named_by(here.file("missing")), "");
}

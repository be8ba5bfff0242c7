// What is kept of the last file: when it is read anew, and when not.
#include "base/profile.h"

#include "unit_support.h"

#include <ctime>
#include <dlfcn.h>
#include <sys/time.h>
#include <sys/wait.h>

namespace {

int openings = 0;
std::size_t bytes_read = 0;
std::time_t clock_is_ahead_by = 0;

class KeptFile : public testing::Test {
  protected:
    KeptFile() {
        openings = 0;
        clock_is_ahead_by = 3600;
    }
    static std::string value(const std::string& file, const char* key = "KEY",
                             const char* section = "S") {
        std::string value = "before";
        GenericGetPrivateProfileString(section, key, "default", value, 1024, file.c_str());
        return value;
    }

    TemporaryDirectory here;
};

} // namespace

// These stand before the library's own.
extern "C" std::FILE* fopen(const char* path, const char* mode) {
    using Open = std::FILE* (*)(const char*, const char*);
    static const Open library = reinterpret_cast<Open>(dlsym(RTLD_NEXT, "fopen"));
    ++openings;
    return library(path, mode);
}

extern "C" std::size_t fread(void* bytes, std::size_t size, std::size_t count, std::FILE* file) {
    using Read = std::size_t (*)(void*, std::size_t, std::size_t, std::FILE*);
    static const Read library = reinterpret_cast<Read>(dlsym(RTLD_NEXT, "fread"));
    const std::size_t got = library(bytes, size, count, file);
    bytes_read += got * size;
    return got;
}

extern "C" std::time_t time(std::time_t* out) noexcept {
    timeval now{};
    gettimeofday(&now, nullptr);
    const std::time_t told = now.tv_sec + clock_is_ahead_by;
    if (out != nullptr)
        *out = told;
    return told;
}

TEST_F(KeptFile, IsReadOnceForManyLookups) {
    const std::string file = here.write("ini", "TOP=0\n[S]\nKEY=1\nOTHER=2\n\n  \n[T]\nKEY=3");
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(value(file), "1");
        EXPECT_EQ(value(file, "OTHER"), "2");
        EXPECT_EQ(value(file, "NONE"), "default");
        EXPECT_EQ(value(file, "KEY", "T"), "before"); // blanks indent its header
        EXPECT_EQ(value(file, "TOP", nullptr), "0");
        EXPECT_EQ(value(file, "KEY", "U"), "before");
    }
    EXPECT_EQ(openings, 1);
}

TEST_F(KeptFile, AnswersEveryLookupByTheRulesOfAFileJustRead) {
    const std::string file =
        here.write("ini", "[Quoted]\n\"A B\"value of A B=no\n\"A\"=1\n \" KEY \" \"x=y\" z\nKEY=2\n"
                          "[Blanks]\nKEY =1\n  OTHER\t \"a=b\"\n LAST=\n"
                          "[Header] x\nKEY=no\n[Header]\r\nKEY=1\r\n [Indented]\nKEY=no\n"
                          "[Short]\n  [s]\nKEY=no\n"
                          "[Broken]\nFIRST=1\n=x\nKEY=no\n[Open]\nFIRST=1\n\"KEY\nKEY=no\n"
                          "[Again]\nKEY=\nKEY=no\n[Again]\nOTHER=no\n[End]\nLAST=a=b");
    for (const bool was_read : {false, true}) {
        EXPECT_EQ(value(file, "A B", "Quoted"), "value of A B") << was_read;
        EXPECT_EQ(value(file, "A", "Quoted"), "default") << was_read;
        EXPECT_EQ(value(file, "KEY", "Quoted"), "x=y") << was_read;
        EXPECT_EQ(value(file, "KEY", "Blanks"), "default") << was_read;
        EXPECT_EQ(value(file, "OTHER", "Blanks"), "a=b") << was_read;
        EXPECT_EQ(value(file, "LAST", "Blanks"), "default") << was_read;
        EXPECT_EQ(value(file, "KEY", "Header"), "1") << was_read;
        EXPECT_EQ(value(file, "KEY", "Indented"), "before") << was_read;
        EXPECT_EQ(value(file, "KEY", "Short"), "default") << was_read;
        EXPECT_EQ(value(file, "FIRST", "Broken"), "1") << was_read;
        EXPECT_EQ(value(file, "KEY", "Broken"), "default") << was_read;
        EXPECT_EQ(value(file, "KEY", "Open"), "default") << was_read;
        EXPECT_EQ(value(file, "KEY", "Again"), "default") << was_read;
        EXPECT_EQ(value(file, "OTHER", "Again"), "default") << was_read;
        EXPECT_EQ(value(file, "LAST", "End"), "a") << was_read;
    }
    EXPECT_EQ(openings, 1);
}

TEST_F(KeptFile, EndsWhereItsDataEnds) {
    for (const char* bytes : {"", "[S]", "[S]\n", "[S]\nOTHER=1", "[S]\n\xFFKEY=1\n"}) {
        const std::string file = here.write("ini", bytes);
        EXPECT_EQ(value(file), *bytes == '\0' ? "before" : "default") << bytes;
        EXPECT_EQ(value(file), *bytes == '\0' ? "before" : "default") << bytes;
    }
    EXPECT_EQ(value(here.write("ini", "[S]\nKEY=1")), "1");
    EXPECT_EQ(value(here.file("ini")), "1");
}

TEST_F(KeptFile, IsReadWholeHoweverLargeItIs) {
    std::string entries = "[S]\n";
    for (int number = 0; number < 5000; ++number)
        entries += "KEY" + std::to_string(number) + "=" + std::to_string(number) + "\n";
    const std::string file = here.write("ini", entries);
    for (const int number : {0, 1, 999, 1234, 2500, 3333, 4998, 4999})
        EXPECT_EQ(value(file, ("KEY" + std::to_string(number)).c_str()), std::to_string(number));
    EXPECT_EQ(value(file, "KEY5000"), "default");
}

TEST_F(KeptFile, IsNotReadBeyondTheByteThatEndsItsData) {
    const std::string file =
        here.write("ini", "[S]\nKEY=1\n\xFFKEY=2\n" + std::string(100000, 'x'));
    bytes_read = 0;
    EXPECT_EQ(value(file), "1");
    EXPECT_EQ(value(file, "OTHER"), "default");
    EXPECT_GT(bytes_read, 0U);
    EXPECT_LT(bytes_read, 50000U);
}

TEST_F(KeptFile, IsSearchedForASectionWithoutAValueInMind) {
    const std::string file = here.write("ini", "[S]\nKEY=1\n [Indented]\n[Last]");
    EXPECT_TRUE(has_section("S", file.c_str()));
    EXPECT_TRUE(has_section("Last", file.c_str()));
    for (const char* section : {"s", "Indented", "KEY", ""})
        EXPECT_FALSE(has_section(section, file.c_str())) << section;
    EXPECT_FALSE(has_section("S", here.file("missing").c_str()));
}

TEST_F(KeptFile, IsReadAnewWhenItsSizeChanged) {
    const std::string file = here.write("ini", "[S]\nKEY=1\n");
    EXPECT_EQ(value(file), "1");
    here.write("ini", "[S]\nKEY=22\n");
    EXPECT_EQ(value(file), "22");
    EXPECT_EQ(openings, 2);
}

TEST_F(KeptFile, IsReadAnewWhenItChangedLater) {
    const std::string file = here.write("ini", "[S]\nKEY=1\n");
    EXPECT_EQ(value(file), "1");
    usleep(20000); // the clock of file systems in memory ticks every few milliseconds
    here.write("ini", "[S]\nKEY=2\n");
    EXPECT_EQ(value(file), "2");
    EXPECT_EQ(openings, 2);
}

TEST_F(KeptFile, IsReadAnewWhenAnotherFileTookItsName) {
    const std::string file = here.write("ini", "[S]\nKEY=1\n");
    EXPECT_EQ(value(file), "1");
    std::filesystem::rename(here.write("new", "[S]\nKEY=2\n"), file);
    EXPECT_EQ(value(file), "2");
    EXPECT_EQ(openings, 2);
}

TEST_F(KeptFile, IsTheSameByEveryName) {
    const std::string file = here.write("ini", "[S]\nKEY=1\n");
    std::filesystem::create_symlink("ini", here.file("link"));
    EXPECT_EQ(value(file), "1");
    EXPECT_EQ(value(here.file("link")), "1");
    EXPECT_EQ(openings, 1);
}

TEST_F(KeptFile, IsGoneWhenItWasRemoved) {
    const std::string file = here.write("ini", "[S]\nKEY=1\n");
    EXPECT_EQ(value(file), "1");
    std::filesystem::remove(file);
    EXPECT_EQ(value(file), "default");
}

TEST_F(KeptFile, GivesWayToTheNextOne) {
    const std::string first = here.write("first", "[S]\nKEY=1\n");
    const std::string second = here.write("second", "[S]\nKEY=2\n");
    EXPECT_EQ(value(first), "1");
    EXPECT_EQ(value(second), "2");
    EXPECT_EQ(value(first), "1");
    EXPECT_EQ(openings, 3);
}

TEST_F(KeptFile, IsReadAnewAsLongAsAChangeMightNotShow) {
    clock_is_ahead_by = 0;
    const std::string file = here.write("ini", "[S]\nKEY=1\n");
    EXPECT_EQ(value(file), "1");
    here.write("ini", "[S]\nKEY=2\n"); // perhaps in the same tick of the file system's clock
    EXPECT_EQ(value(file), "2");
    EXPECT_EQ(openings, 2);
}

TEST_F(KeptFile, IsNeverAPipe) {
    const std::string pipe = here.file("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const char* expected : {"1", "2"}) {
        std::fflush(nullptr);
        const pid_t writer = fork();
        if (writer == 0) {
            std::ofstream(pipe) << "[S]\nKEY=" << expected << "\n";
            _exit(0);
        }
        EXPECT_EQ(value(pipe), expected);
        EXPECT_EQ(waitpid(writer, nullptr, 0), writer);
    }
}

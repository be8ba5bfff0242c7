#include "platform/program_start.h"

#include "unit_surroundings.h"

#include <cerrno>
#include <csignal>
#include <sys/resource.h>

namespace {

// The start of every program in this directory fails with `far_error`.
std::string far_directory;
int far_error = 0;

struct End {
    int status = -1; // the exit code of what was started
    std::string path;
    int error = 0; // why nothing was
};

class ProgramStart : public testing::Test {
  protected:
    // A script in directory `name` that ends with `code`.
    std::string make_program(const std::string& name, int code, unsigned mode = 0755) const {
        return make(name, "#!/bin/sh\nexit " + std::to_string(code) + "\n", mode);
    }
    std::string make(const std::string& name, const std::string& bytes,
                     unsigned mode = 0755) const {
        std::filesystem::create_directories(std::filesystem::path(here.file(name)).parent_path());
        here.write(name, bytes);
        std::filesystem::permissions(here.file(name), std::filesystem::perms(mode));
        return here.file(name);
    }

    End start(const std::string& program, const std::vector<std::string>& arguments = {"x"}) const {
        const std::string told = here.file("told");
        std::filesystem::remove(told);
        std::fflush(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            const StartFailure failure = become_program(program, arguments);
            std::ofstream(told) << failure.error << failure.path;
            _exit(99);
        }
        End end;
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        end.status = WEXITSTATUS(status);
        std::ifstream in(told);
        in >> end.error;
        std::getline(in, end.path);
        return end;
    }
    void expect_started(const std::string& program, int code) const {
        const End end = start(program);
        EXPECT_EQ(end.status, code) << program;
        EXPECT_EQ(end.error, 0) << program;
    }
    void expect_refused(const std::string& program, const std::string& path, int error) const {
        const End end = start(program);
        EXPECT_EQ(end.path, path) << program;
        EXPECT_EQ(end.error, error) << program;
    }

    std::string path_of(std::initializer_list<const char*> directories) const {
        std::string path;
        for (const char* directory : directories)
            path += (path.empty() ? "" : ":") + here.file(directory);
        return path;
    }

    TemporaryDirectory here;
};

} // namespace

// Stands before the library's own.
extern "C" int execv(const char* path, char* const* arguments) noexcept {
    if (far_error != 0 && std::string(path).starts_with(far_directory + "/")) {
        errno = far_error;
        return -1;
    }
    return execve(path, arguments, environ);
}

TEST_F(ProgramStart, APathIsStartedAsItStands) {
    make_program("bin/program", 7);
    expect_started(here.file("bin/program"), 7);
    const WorkingDirectory in(here.path());
    expect_started("bin/program", 7);
    const Variable path("PATH", here.file("bin"));
    expect_refused("./program", "./program", ENOENT);
}

TEST_F(ProgramStart, ANameIsSearchedAlongThePath) {
    make_program("second/program", 2);
    make_program("third/program", 3);
    {
        const Variable path("PATH", path_of({"missing", "second", "third"}));
        expect_started("program", 2);
        expect_refused("other", "other", ENOENT);
    }
    const WorkingDirectory in(here.file("third"));
    for (const char* empty : {"", ":", "/no/such:", ":/no/such", "/no/such::/no/such"}) {
        const Variable path("PATH", empty);
        expect_started("program", 3);
    }
    const Variable none("PATH", std::nullopt);
    expect_started("true", 0);
}

TEST_F(ProgramStart, TheSearchPassesOverWhatMayNotBeStartedAndNamesItAtTheEnd) {
    make_program("first/program", 1, 0644);
    std::filesystem::create_directories(here.file("directory/program"));
    make("file", "");
    make_program("last/program", 4);
    {
        const Variable path("PATH", path_of({"first", "directory", "file", "last"}));
        expect_started("program", 4);
    }
    const Variable path("PATH", path_of({"missing", "first", "directory", "file", "missing"}));
    expect_refused("program", here.file("first/program"), EACCES);
}

TEST_F(ProgramStart, TheSearchPassesOverADirectoryThatIsTooLong) {
    make_program("last/program", 4);
    const Variable path("PATH", "/" + std::string(5000, 'x') + ":" + here.file("last"));
    expect_started("program", 4);
}

TEST_F(ProgramStart, TheSearchPassesOverADirectoryThatIsOutOfReach) {
    make_program("last/program", 4);
    far_directory = here.file("far");
    const Variable path("PATH", path_of({"far", "last"}));
    for (const int error : {ESTALE, ENODEV, ETIMEDOUT}) {
        far_error = error;
        expect_started("program", 4);
    }
    far_error = 0;
}

TEST_F(ProgramStart, TheSearchEndsAtAFileThatTheSystemCannotStart) {
    make_program("last/program", 4);
    far_directory = here.file("far");
    const Variable path("PATH", path_of({"far", "last"}));
    for (const int error : {EIO, ENOMEM, E2BIG, ETXTBSY, EPERM}) {
        far_error = error;
        expect_refused("program", here.file("far/program"), error);
    }
    far_error = 0;
}

TEST_F(ProgramStart, TheSearchEndsAtAFileThatIsNoProgram) {
    make("first/program", std::string(10, '\0'));
    make_program("last/program", 4);
    const Variable path("PATH", path_of({"first", "last"}));
    expect_refused("program", here.file("first/program"), ENOEXEC);
}

TEST_F(ProgramStart, ATextGoesToTheShellWithItsNameAndItsArguments) {
    const std::string program =
        make("bin/program", "printf '%s|' \"$0\" \"$@\" > '" + here.file("given") + "'\nexit 5\n");
    EXPECT_EQ(start(program, {"zero", "one", "", "t w o"}).status, 5);
    EXPECT_EQ(bytes_of(here.file("given")), program + "|one||t w o|");
    EXPECT_EQ(start(program, {"zero", "one"}).status, 5);
    EXPECT_EQ(bytes_of(here.file("given")), program + "|one|");
    EXPECT_EQ(start(program, {}).status, 5);
    EXPECT_EQ(bytes_of(here.file("given")), program + "|");
    const Variable path("PATH", here.file("bin"));
    EXPECT_EQ(start("program", {"zero"}).status, 5);
    EXPECT_EQ(bytes_of(here.file("given")), program + "|");
}

TEST_F(ProgramStart, WhatIsNoTextNeverReachesTheShell) {
    const std::string trap = "\necho > '" + here.file("ran") + "'\n";
    const std::string elf = "\x7f"
                            "ELF";
    for (const std::string& bytes : {std::string(), std::string(64, '\0'), elf, elf + trap,
                                     std::string(1, '\0') + trap, "\x01" + trap})
        expect_refused(make("program", bytes), here.file("program"), ENOEXEC);
    EXPECT_FALSE(std::filesystem::exists(here.file("ran")));
}

TEST_F(ProgramStart, AnEmptyNameIsNotFound) {
    expect_refused("", "", ENOENT);
}

TEST_F(ProgramStart, ProgramsCanBeStartedFromAnOrdinaryDirectoryAndNothingStaysThere) {
    EXPECT_EQ(refusal_of_programs_in(here.path()), 0);
    EXPECT_TRUE(std::filesystem::is_empty(here.path()));
    EXPECT_EQ(refusal_of_programs_in(here.file("missing")), 0);
}

TEST_F(ProgramStart, OnlyWhatForbidsProgramsIsARefusalOfThem) {
    far_directory = here.path();
    for (const int error : {EACCES, EPERM, ENOEXEC, ETXTBSY, EIO, ENOMEM}) {
        far_error = error;
        const bool refuses = error == EACCES || error == EPERM;
        EXPECT_EQ(refusal_of_programs_in(here.path()), refuses ? error : 0);
        EXPECT_TRUE(std::filesystem::is_empty(here.path()));
    }
    far_error = 0;
}

TEST_F(ProgramStart, AFileThatCannotBeWrittenSaysNothingAboutPrograms) {
    as_ordinary_user([] {
        const TemporaryDirectory full;
        far_directory = full.path();
        far_error = EACCES;
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit nothing{0, 0};
        setrlimit(RLIMIT_FSIZE, &nothing);
        EXPECT_EQ(refusal_of_programs_in(full.path()), 0);
        EXPECT_TRUE(std::filesystem::is_empty(full.path()));
    });
}

TEST_F(ProgramStart, TheProofThatProgramsCanBeStartedLeavesNoDescriptorOpen) {
    const int before = lowest_free_descriptor();
    EXPECT_EQ(refusal_of_programs_in(here.path()), 0);
    EXPECT_EQ(lowest_free_descriptor(), before);
}

#include "setupLauncher/start_failure.h"

#include "launch_fixture.h"
#include "unit_surroundings.h"

#include <cerrno>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

// Whom the launcher is told that it runs for, where that is somebody else.
struct User {
    uid_t id;
    gid_t group;
    std::vector<gid_t> groups;
    bool number_known = true; // of the groups
    bool groups_known = true;
};
const User* user = nullptr;

class StartFailureTest : public LaunchFixture {
  protected:
    std::string make(const std::string& name, const std::string& bytes, unsigned mode = 0755) {
        const std::string path = make_file(name, bytes);
        std::filesystem::permissions(path, std::filesystem::perms(mode));
        return path;
    }

    static std::string told(const std::string& path, int error, const std::string& scratch = "") {
        const Said said = said_by([&] { complain_of_start({path, error}, {path, "x"}, scratch); });
        EXPECT_EQ(said.out, "");
        return said.err;
    }

    // The key that `user` is told of the file `path`, which the system refuses.
    static std::string key_told_to(const User& somebody, const std::string& path) {
        user = &somebody;
        const std::string text = told(path, EACCES);
        user = nullptr;
        return text.substr(1, text.find('|') - 1);
    }

    // The line about `path` with `remedies` behind it.
    static std::string line(const char* key, std::vector<std::string> args, int error,
                            const std::vector<const char*>& remedies = {"S_REMEDY_JRELOC"}) {
        args.insert(args.begin() + 1, std::strerror(error));
        std::string text = shown(key, args);
        for (const char* remedy : remedies)
            text += " " + shown(remedy, {"%s", "%s", "%s"});
        return text + "\n";
    }
};

} // namespace

// These stand before the library's own.
extern "C" uid_t geteuid() noexcept {
    return user != nullptr ? user->id : static_cast<uid_t>(syscall(SYS_geteuid));
}

extern "C" gid_t getegid() noexcept {
    return user != nullptr ? user->group : static_cast<gid_t>(syscall(SYS_getegid));
}

extern "C" int getgroups(int size, gid_t* groups) noexcept {
    if (user == nullptr)
        return static_cast<int>(syscall(SYS_getgroups, size, groups));
    if (!(size == 0 ? user->number_known : user->groups_known))
        return -1;
    if (size != 0)
        std::copy(user->groups.begin(), user->groups.end(), groups);
    return static_cast<int>(user->groups.size());
}

TEST_F(StartFailureTest, TellsByTheModeWhoMayExecuteAFile) {
    const std::string file = make("file", "#!/bin/sh\n");
    struct stat of_file {};
    ASSERT_EQ(stat(file.c_str(), &of_file), 0);
    const uid_t owner = of_file.st_uid;
    const gid_t group = of_file.st_gid;
    const User owns{owner, group + 1, {}};
    const User in_group{owner + 1, group, {}};
    const User in_groups{owner + 1, group + 1, {group + 2, group}};
    const User other{owner + 1, group + 1, {group + 2, group + 3}};
    const std::pair<unsigned, const User*> allowed[] = {
        {0100, &owns}, {0010, &in_group}, {0010, &in_groups}, {0001, &other}};
    for (const auto& [bit, who] : allowed) {
        // Only the bit of whoever it is counts, also where all others are set.
        std::filesystem::permissions(file, std::filesystem::perms(0444 | bit));
        EXPECT_EQ(key_told_to(*who, file), "S_START_NOEXEC") << bit;
        std::filesystem::permissions(file, std::filesystem::perms(0555 & ~bit));
        EXPECT_EQ(key_told_to(*who, file), "S_START_NOT_EXECUTABLE") << bit;
    }
}

TEST_F(StartFailureTest, TakesAUserWhoseGroupsCannotBeAskedToBeInNone) {
    const std::string file = make("file", "#!/bin/sh\n", 0454);
    struct stat of_file {};
    ASSERT_EQ(stat(file.c_str(), &of_file), 0);
    const User no_number{of_file.st_uid + 1, of_file.st_gid + 1, {}, false, false};
    const User number_alone{of_file.st_uid + 1, of_file.st_gid + 1, {1, 2}, true, false};
    EXPECT_EQ(key_told_to(no_number, file), "S_START_NOT_EXECUTABLE");
    EXPECT_EQ(key_told_to(number_alone, file), "S_START_NOT_EXECUTABLE");
}

TEST_F(StartFailureTest, TellsTheKindOfFileThatTheSystemRefuses) {
    const std::string refused = make("refused", "x", 0644);
    EXPECT_EQ(told(refused, EACCES), line("S_START_NOT_EXECUTABLE", {refused}, EACCES));
    EXPECT_EQ(told(room.path(), EACCES), line("S_START_DIRECTORY", {room.path()}, EACCES));
    EXPECT_EQ(told("/dev/null", EACCES), line("S_START_NO_PROGRAM", {"/dev/null"}, EACCES));
    const std::string fine = make("fine", "#!/bin/sh\n");
    EXPECT_EQ(told(fine, EACCES), line("S_START_NOEXEC", {fine}, EACCES));
    EXPECT_EQ(told(fine, EPERM), line("S_START_NOEXEC", {fine}, EPERM));
    EXPECT_EQ(told(fine, ENOEXEC), line("S_START_NO_PROGRAM", {fine}, ENOEXEC));
    const std::string missing = room.file("missing");
    EXPECT_EQ(told(missing, EACCES), line("S_START_OTHER", {missing}, EACCES));
}

TEST_F(StartFailureTest, TellsAnInterpreterThatIsMissingOrRefused) {
    const std::string shell = make("shell", "x", 0644);
    const std::string refused = make("refused", "#!" + shell + "\n");
    EXPECT_EQ(told(refused, EACCES), line("S_START_NO_RUNNER", {refused, shell}, EACCES));
    const std::string directory = make("directory", "#!/bin\n");
    EXPECT_EQ(told(directory, EACCES), line("S_START_NO_RUNNER", {directory, "/bin"}, EACCES));
    const std::string missing = make("missing", "#! /no/such/shell -e\n");
    EXPECT_EQ(told(missing, ENOENT),
              line("S_START_NO_RUNNER", {missing, "/no/such/shell"}, ENOENT));
    const std::string foreign = make("foreign", "#!/bin/sh\r\n");
    EXPECT_EQ(told(foreign, ENOENT), line("S_START_CARRIAGE_RETURN", {foreign}, ENOENT));
    // A file that names nothing is there, and nothing more is known.
    const std::string plain = make("plain", "x");
    EXPECT_EQ(told(plain, ENOENT), line("S_START_OTHER", {plain}, ENOENT));
}

TEST_F(StartFailureTest, TellsWhereTheWayToAProgramEnds) {
    const std::string file = make("file", "x");
    EXPECT_EQ(told("/no/such/java", ENOENT),
              line("S_START_OBSTACLE", {"/no/such/java", "/no"}, ENOENT));
    EXPECT_EQ(told(file + "/java", ENOTDIR),
              line("S_START_OBSTACLE", {file + "/java", file}, ENOTDIR));
    EXPECT_EQ(told(room.file("java"), ENOENT), line("S_START_OTHER", {room.file("java")}, ENOENT));
    EXPECT_EQ(told("java", ENOENT), line("S_START_NOT_FOUND", {"java"}, ENOENT));
}

TEST_F(StartFailureTest, TellsTheDirectoryThatMayNotBeSearched) {
    make("closed/bin/java", "x");
    std::filesystem::permissions(room.path(), std::filesystem::perms(0755));
    std::filesystem::permissions(room.file("closed"), std::filesystem::perms(0));
    const auto call = [this] {
        EXPECT_EQ(
            told(room.file("closed/bin/java"), EACCES),
            line("S_START_CLOSED", {room.file("closed/bin/java"), room.file("closed")}, EACCES));
        EXPECT_EQ(told(room.file("closed/bin/java"), EACCES, room.path()),
                  line("S_START_CLOSED", {room.file("closed/bin/java"), room.file("closed")},
                       EACCES, {"S_REMEDY_SCRATCHPATH", "S_REMEDY_JRELOC"}));
    };
    // The fixture's files are there already; only the looking needs an ordinary user.
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        if (geteuid() == 0 && setuid(65534) != 0)
            _exit(2);
        call();
        std::fflush(nullptr);
        _exit(HasFailure() ? 1 : 0);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    std::filesystem::permissions(room.file("closed"), std::filesystem::perms(0755));
}

TEST_F(StartFailureTest, NamesNoOtherRuntimeWhereThatIsNoRemedy) {
    const std::string file = make("file", "x");
    EXPECT_EQ(told(file, ETXTBSY), line("S_START_BUSY", {file}, ETXTBSY, {}));
    EXPECT_EQ(told(file, ENOMEM), line("S_START_OTHER", {file}, ENOMEM, {}));
    EXPECT_EQ(told(file, EAGAIN), line("S_START_OTHER", {file}, EAGAIN, {}));
    EXPECT_EQ(told(file, EIO), line("S_START_OTHER", {file}, EIO));
}

TEST_F(StartFailureTest, NamesAnotherScratchDirectoryForAProgramInIt) {
    make("scratch/jre/bin/java", "x");
    const std::string java = room.file("scratch/jre/bin/java");
    EXPECT_EQ(told(java, EACCES, room.file("scratch")),
              line("S_START_NOEXEC", {java}, EACCES, {"S_REMEDY_SCRATCHPATH", "S_REMEDY_JRELOC"}));
    EXPECT_EQ(told(java, EACCES, room.file("scrat")), line("S_START_NOEXEC", {java}, EACCES));
    EXPECT_EQ(told(java, ENOEXEC, room.file("scratch")),
              line("S_START_NO_PROGRAM", {java}, ENOEXEC));
}

TEST_F(StartFailureTest, TellsAProgramInTheScratchDirectoryHoweverThatIsCalled) {
    make("scratch/bin/java", "x");
    const std::string java = room.file("scratch/bin/java");
    std::filesystem::create_directory_symlink(room.path(), room.file("link"));
    std::filesystem::current_path(room.path());
    const std::string room_name = std::filesystem::path(room.path()).filename().string();
    for (const std::string& scratch :
         {std::string("scratch"), "../" + room_name + "/scratch", room.file("link/scratch")}) {
        EXPECT_EQ(told(java, EACCES, scratch), line("S_START_NOEXEC", {java}, EACCES,
                                                    {"S_REMEDY_SCRATCHPATH", "S_REMEDY_JRELOC"}))
            << scratch;
    }
    // Without a scratch directory it lies in none, also below the current directory.
    EXPECT_EQ(told(java, EACCES, ""), line("S_START_NOEXEC", {java}, EACCES));
}

TEST_F(StartFailureTest, TellsTheWholePathOfAProgram) {
    make("one/java", "");
    std::filesystem::create_directory(room.file("two"));
    std::filesystem::current_path(room.file("two"));
    EXPECT_EQ(told("../one/java", ENOEXEC),
              line("S_START_NO_PROGRAM", {room.file("one/java")}, ENOEXEC));
    std::filesystem::current_path(room.path());
}

TEST_F(StartFailureTest, TellsHowLongArgumentsAndEnvironmentAre) {
    std::size_t environment = 0;
    std::size_t longest = 0;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        environment += std::strlen(*variable) + 1 + sizeof(char*);
        longest = std::max(longest, std::strlen(*variable) + 1);
    }
    const std::string large(100000, 'x');
    ASSERT_LT(longest, large.size());
    const std::size_t all = environment + 6 + 8 + large.size() + 1 + 8;
    const Said said = said_by([&] { complain_of_start({"/java", E2BIG}, {"/java", large}, ""); });
    // The echo shows the first three arguments.
    EXPECT_EQ(said.err,
              shown("S_START_TOO_LONG", {"/java", std::strerror(E2BIG), std::to_string(all)}) +
                  "\n");
}

TEST_F(StartFailureTest, TellsTheLongestOfThemAndTheSystemsLimit) {
    nls_close(); // whose echo shows three arguments
    const Catalogue figures{{"S_START_TOO_LONG", "%s|%s|%ld|%ld|%ld"}};
    const std::string large(200000, 'x');
    const Said said = said_by([&] {
        complain_of_start({"/java", E2BIG}, {"/java", large, "last"}, "");
    });
    const std::string end =
        "|" + std::to_string(large.size() + 1) + "|" + std::to_string(sysconf(_SC_ARG_MAX)) + ">\n";
    EXPECT_TRUE(said.err.ends_with(end)) << said.err;
    const Said by_name = said_by([&] { complain_of_start({"java", E2BIG}, {"java"}, ""); });
    EXPECT_TRUE(by_name.err.starts_with("<java|Argument list too long|")) << by_name.err;
}

TEST_F(StartFailureTest, TellsThatNoProgramRunsInTheScratchDirectory) {
    const Said said = said_by([] { complain_of_refusal("/scratch", EACCES); });
    EXPECT_EQ(said.err, line("S_START_NOEXEC", {"/scratch"}, EACCES,
                             {"S_REMEDY_SCRATCHPATH", "S_REMEDY_JRELOC"}));
}

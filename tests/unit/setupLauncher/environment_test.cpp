#include "setupLauncher/environment.h"

#include "base/directory.h"
#include "base/launcher_state.h"
#include "base/status.h"
#include "unit_surroundings.h"

#include <sys/resource.h>

namespace {

// The real user id that the launcher sees, in place of the system's.
uid_t real_user = 1000;
bool limits_can_be_read = true;

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "(unset)" : value;
}

std::string added_to_class_path(const std::string& setting, const std::string& before = "") {
    std::string expanded = before;
    ComputeAddtoClasspath("/tmp/X", setting, expanded);
    return expanded;
}

class Environment : public testing::Test {
  protected:
    Environment() {
        launcher_state::reset();
        real_user = 1000;
    }
    ~Environment() override {
        launcher_state::reset();
    }

    // A runtime's bin directory with java programs in `places`, none of them executable.
    std::string make_java_programs(const std::vector<std::string>& places) const {
        for (const std::string& place : places) {
            std::filesystem::create_directories(here.file("bin" + place));
            EXPECT_EQ(chmod(here.write("bin" + place + "/java", "").c_str(), 0600), 0);
        }
        return here.file("bin");
    }

    TemporaryDirectory here;
    Variable class_path{"CLASSPATH", "/home/user/classes"};
    Variable java_home{"JAVA_HOME", "/home/user/jdk"};
    Variable library_path{"LD_LIBRARY_PATH", std::nullopt};
    Variable display{"DISPLAY", ":0"};
    Catalogue catalogue{{"S_ERPERROT", "not as the super-user"},
                        {"S_ERPERDSP", "0"},
                        {"S_ERPERDSP_1", "1"},
                        {"S_ERPERDSP_2", "2"},
                        {"S_ERPERDSP_3", "3"},
                        {"S_ERPERDSP_4", "4"},
                        {"S_ERPERDSP_5", "5"},
                        {"S_ERPERDSP_6", "6"},
                        {"S_ERPERDSP_7", "7"},
                        {"S_ERPERDSP_8", "8"},
                        {"S_ERPERDSP_9", "9"},
                        {"S_ERPERDSP_10", "10"},
                        {"S_ERPERDSP_11", "11"},
                        {"S_ERPERDSP_12", "12"},
                        {"S_ERPERDSP_13", "13"},
                        {"S_ERPERDSPXCLOCKLOC", "try %s"},
                        {"S_ERRINVPATH", "%s of %s in %s is not absolute"},
                        {"S_ERRINVCHARINPATH", "%s of %s in %s has bad characters"},
                        {"S_ERRINVPRM", "no permission for %s"}};
};

constexpr const char* kFifteenMessages =
    "<0><1><2><3><4><5><6><7><8><9><10><11><12><13><try /usr/openwin/bin/xclock>";

using SetUnixEnvironment = Environment;
using Display = Environment;
using PrefixToEnv = Environment;
using ExtensionDirectories = Environment;
using ClassPathSettings = Environment;

struct Checked {
    int status = 0;
    std::string complaint;
    bool operator==(const Checked&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Checked& checked) {
    return out << checked.status << " \"" << checked.complaint << '"';
}

const Checked kUsable{kOk, ""};

Checked refused(const std::string& complaint) {
    return {kFailed, complaint + "\n"};
}

class InventoryPermissions : public Environment {
  protected:
    InventoryPermissions() {
        launcher_state::sInvPtrLocation = here.file("talInst.loc");
    }

    static Checked checked() {
        Checked result;
        result.complaint =
            complained_by([&result] { result.status = CheckInventoryPermissions(); });
        return result;
    }
    // With `location` in the inventory pointer file.
    Checked checked_with_pointer(const std::string& location) const {
        here.write("talInst.loc", "inventory_loc=" + location + "\n");
        return checked();
    }
    std::string path_refusal(const std::string& location, const std::string& reason) const {
        return "<" + location + " of inventory_loc in " + here.file("talInst.loc") + reason + ">";
    }
};

} // namespace

// Stands before the library's own, so that the super-user's case is the same whoever runs the
// tests.
extern "C" uid_t getuid() noexcept {
    return real_user;
}

// AddressSanitizer asks for limits before it has begun its work.
extern "C" [[gnu::no_sanitize_address]] int getrlimit(__rlimit_resource_t which,
                                                      rlimit* limits) noexcept {
    if (!limits_can_be_read)
        return -1;
    return prlimit(0, static_cast<__rlimit_resource>(which), nullptr, limits);
}

TEST_F(SetUnixEnvironment, RefusesTheSuperUserBeforeAnythingElse) {
    const std::string bin = make_java_programs({""});
    real_user = 0;
    int status = 0;
    EXPECT_EQ(complained_by([&] { status = SetUNIXEnvironment(bin); }),
              "<not as the super-user>\n");
    EXPECT_EQ(status, kFailed);
    EXPECT_EQ(mode_of(bin + "/java"), 0600U);
    EXPECT_EQ(environment("CLASSPATH"), "/home/user/classes");
}

TEST_F(SetUnixEnvironment, MakesTheThreeJavaProgramsExecutable) {
    const std::string bin =
        make_java_programs({"", "/sparc/green_threads", "/sparc/native_threads"});
    EXPECT_EQ(SetUNIXEnvironment(bin), kOk);
    EXPECT_EQ(mode_of(bin + "/java"), 0755U);
    EXPECT_EQ(mode_of(bin + "/sparc/green_threads/java"), 0755U);
    EXPECT_EQ(mode_of(bin + "/sparc/native_threads/java"), 0755U);
}

TEST_F(SetUnixEnvironment, GoesOnPastProgramsThatDoNotExist) {
    const std::string bin = make_java_programs({"/sparc/native_threads"});
    int status = kFailed;
    EXPECT_EQ(complained_by([&] { status = SetUNIXEnvironment(bin); }), "");
    EXPECT_EQ(status, kOk);
    EXPECT_EQ(mode_of(bin + "/sparc/native_threads/java"), 0755U);
}

TEST_F(SetUnixEnvironment, ChangesNoModeButThatOfTheJavaPrograms) {
    const std::string bin = make_java_programs({""});
    EXPECT_EQ(chmod(here.write("bin/javac", "").c_str(), 0600), 0);
    EXPECT_EQ(SetUNIXEnvironment(bin), kOk);
    EXPECT_EQ(mode_of(bin + "/javac"), 0600U);
}

TEST_F(SetUnixEnvironment, RaisesTheSoftLimitOnOpenFilesToTheHardOne) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit lowered{64, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &lowered), 0);
    EXPECT_EQ(SetUNIXEnvironment(here.path()), kOk);
    rlimit after{};
    EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &after), 0);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(after.rlim_cur, before.rlim_max);
    EXPECT_EQ(after.rlim_max, before.rlim_max);
}

TEST_F(SetUnixEnvironment, LeavesALimitAloneThatCannotBeRead) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit lowered{64, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &lowered), 0);
    limits_can_be_read = false;
    EXPECT_EQ(SetUNIXEnvironment(here.path()), kOk);
    limits_can_be_read = true;
    rlimit after{};
    EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &after), 0);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(after.rlim_cur, 64U);
    EXPECT_EQ(after.rlim_max, before.rlim_max);
}

TEST_F(SetUnixEnvironment, LeavesClassPathAndJavaHomePresentAndEmpty) {
    EXPECT_EQ(SetUNIXEnvironment(here.path()), kOk);
    EXPECT_EQ(environment("CLASSPATH"), "");
    EXPECT_EQ(environment("JAVA_HOME"), "");
    unsetenv("CLASSPATH");
    unsetenv("JAVA_HOME");
    EXPECT_EQ(SetUNIXEnvironment(here.path()), kOk);
    EXPECT_EQ(environment("CLASSPATH"), "");
    EXPECT_EQ(environment("JAVA_HOME"), "");
}

TEST_F(SetUnixEnvironment, SucceedsWithoutADisplayInASilentLaunch) {
    unsetenv("DISPLAY");
    launcher_state::_bSilent = true;
    int status = kFailed;
    EXPECT_EQ(shown_by([&] { status = SetUNIXEnvironment(here.path()); }), "");
    EXPECT_EQ(status, kOk);
}

TEST_F(SetUnixEnvironment, FailsWithoutADisplayInAnyOtherLaunchAfterAllElseIsDone) {
    unsetenv("DISPLAY");
    const std::string bin = make_java_programs({""});
    int status = kOk;
    EXPECT_EQ(shown_by([&] { status = SetUNIXEnvironment(bin); }), kFifteenMessages);
    EXPECT_EQ(status, kFailed);
    EXPECT_EQ(mode_of(bin + "/java"), 0755U);
    EXPECT_EQ(environment("CLASSPATH"), "");
}

TEST_F(Display, ThatIsSetIsEnough) {
    int status = kFailed;
    setenv("DISPLAY", "no.such.host:99", 1);
    EXPECT_EQ(shown_by([&] { status = CheckDisplay(); }), "");
    EXPECT_EQ(status, kOk);
}

TEST_F(Display, ThatIsNotSetShowsFifteenMessagesInTheirOrder) {
    int status = kOk;
    unsetenv("DISPLAY");
    EXPECT_EQ(shown_by([&] { status = CheckDisplay(); }), kFifteenMessages);
    EXPECT_EQ(status, kFailed);
}

TEST_F(Display, ThatIsEmptyCountsAsNotSet) {
    int status = kOk;
    setenv("DISPLAY", "", 1);
    EXPECT_EQ(shown_by([&] { status = CheckDisplay(); }), kFifteenMessages);
    EXPECT_EQ(status, kFailed);
}

TEST_F(PrefixToEnv, PutsTextAndSeparatorBeforeTheOldValue) {
    const Variable variable("LAUNCHER_TEST", "old");
    EXPECT_EQ(prefixToEnv("LAUNCHER_TEST", "new", ":"), kOk);
    EXPECT_EQ(environment("LAUNCHER_TEST"), "new:old");
}

TEST_F(PrefixToEnv, GivesAnUnsetVariableTheTextAlone) {
    const Variable variable("LAUNCHER_TEST", std::nullopt);
    EXPECT_EQ(prefixToEnv("LAUNCHER_TEST", "new", ":"), kOk);
    EXPECT_EQ(environment("LAUNCHER_TEST"), "new");
}

TEST_F(PrefixToEnv, KeepsTheSeparatorBeforeAnEmptyValue) {
    const Variable variable("LAUNCHER_TEST", "");
    EXPECT_EQ(prefixToEnv("LAUNCHER_TEST", "new", ":"), kOk);
    EXPECT_EQ(environment("LAUNCHER_TEST"), "new:");
}

TEST_F(PrefixToEnv, FailsWhenTheEnvironmentCannotBeChanged) {
    EXPECT_EQ(prefixToEnv("", "new", ":"), kFailed);
}

TEST_F(PrefixToEnv, CutsNoValueWhateverItsLength) {
    const std::string value(5000, 'v');
    const Variable variable("LAUNCHER_TEST", value);
    EXPECT_EQ(prefixToEnv("LAUNCHER_TEST", value, ":"), kOk);
    EXPECT_EQ(environment("LAUNCHER_TEST"), value + ":" + value);
}

TEST_F(ExtensionDirectories, AreTheWholeLibraryPathWhenItWasNotSet) {
    addExtDir("/tmp/X", "ext/lib");
    EXPECT_EQ(environment("LD_LIBRARY_PATH"), "/tmp/X/ext/lib");
}

TEST_F(ExtensionDirectories, StandBeforeTheOldLibraryPath) {
    setenv("LD_LIBRARY_PATH", "/usr/lib", 1);
    addExtDir("/tmp/X", "ext/lib");
    addExtDir("/tmp/X", "ext/bin");
    EXPECT_EQ(environment("LD_LIBRARY_PATH"), "/tmp/X/ext/bin:/tmp/X/ext/lib:/usr/lib");
}

TEST_F(ExtensionDirectories, AddNothingWithoutAScratchDirectory) {
    addExtDir(nullptr, "ext/lib");
    addExtPath(nullptr, "/stage/ext/lib");
    EXPECT_EQ(environment("LD_LIBRARY_PATH"), "(unset)");
}

TEST_F(ExtensionDirectories, OfAPathAreItsPartFromTheFirstExtOn) {
    addExtPath("/tmp/X", "/stage/ext/lib");
    EXPECT_EQ(environment("LD_LIBRARY_PATH"), "/tmp/X/ext/lib");
    addExtPath("/tmp/X", "/stage/next/ext/bin");
    EXPECT_EQ(environment("LD_LIBRARY_PATH"), "/tmp/X/ext/ext/bin:/tmp/X/ext/lib");
}

TEST_F(ExtensionDirectories, OfAPathWithoutExtOrNoPathAddNothing) {
    addExtPath("/tmp/X", "/stage/lib");
    addExtPath("/tmp/X", "");
    addExtPath("/tmp/X", nullptr);
    EXPECT_EQ(environment("LD_LIBRARY_PATH"), "(unset)");
}

TEST_F(ClassPathSettings, ToAddBecomePathsInTheScratchDirectoryEachWithAColonBehindIt) {
    EXPECT_EQ(added_to_class_path("a.jar:b.jar"), "/tmp/X/a.jar:/tmp/X/b.jar:");
    EXPECT_EQ(added_to_class_path("lib/a.jar"), "/tmp/X/lib/a.jar:");
}

TEST_F(ClassPathSettings, ToAddHoldNoEmptyPieces) {
    EXPECT_EQ(added_to_class_path(":a.jar::b.jar:"), "/tmp/X/a.jar:/tmp/X/b.jar:");
    EXPECT_EQ(added_to_class_path(":"), "");
}

TEST_F(ClassPathSettings, ToAddAreNotTrimmed) {
    EXPECT_EQ(added_to_class_path(" a.jar : b.jar"), "/tmp/X/ a.jar :/tmp/X/ b.jar:");
}

TEST_F(ClassPathSettings, ToAddAreAppendedToWhatTheOutputHolds) {
    EXPECT_EQ(added_to_class_path("a.jar", "/before:"), "/before:/tmp/X/a.jar:");
}

TEST_F(ClassPathSettings, ToAddEmptyTheOutputWhenTheyAreEmpty) {
    EXPECT_EQ(added_to_class_path("", "/before:"), "");
}

TEST_F(ClassPathSettings, OfExtensionsNameEveryFileOfTheirDirectoryInItsOrder) {
    std::filesystem::create_directories(here.file("ext/jlib/directory"));
    for (const char* name : {"b.jar", "a.jar", ".hidden", "c.txt"})
        here.write(std::string("ext/jlib/") + name, "");
    here.write("ext/jlib/directory/below.jar", "");
    std::string expected = "/before";
    for (const std::string& name : directory_entries(here.file("ext/jlib")).names) {
        if (name != "directory")
            expected += ":" + here.file("ext/jlib/") + name;
    }
    std::string expanded = "/before";
    ComputeEXTClasspath(here.path(), "its text plays no part", expanded);
    EXPECT_EQ(expanded, expected);
    EXPECT_NE(expanded.find(":" + here.file("ext/jlib/.hidden")), std::string::npos);
}

TEST_F(ClassPathSettings, OfExtensionsLeaveOutALinkToADirectory) {
    std::filesystem::create_directories(here.file("ext/jlib"));
    std::filesystem::create_symlink(here.path(), here.file("ext/jlib/link"));
    here.write("ext/jlib/a.jar", "");
    std::string expanded;
    ComputeEXTClasspath(here.path() + "/", "x", expanded);
    EXPECT_EQ(expanded, ":" + here.file("ext/jlib/a.jar"));
}

TEST_F(ClassPathSettings, OfExtensionsAddNothingForAMissingDirectory) {
    std::string expanded = "/before";
    ComputeEXTClasspath(here.path(), "x", expanded);
    EXPECT_EQ(expanded, "/before");
}

TEST_F(ClassPathSettings, OfExtensionsEmptyTheOutputWhenTheyAreEmpty) {
    std::filesystem::create_directories(here.file("ext/jlib"));
    here.write("ext/jlib/a.jar", "");
    std::string expanded = "/before";
    ComputeEXTClasspath(here.path(), "", expanded);
    EXPECT_EQ(expanded, "");
}

TEST_F(InventoryPermissions, NeedNoCheckWithoutAPointerFile) {
    EXPECT_EQ(checked(), kUsable);
}

TEST_F(InventoryPermissions, NeedNoCheckForAPointerFileWithoutALocation) {
    here.write("talInst.loc", "inst_group=staff\n");
    EXPECT_EQ(checked(), kUsable);
    here.write("talInst.loc", "inventory_loc=\n");
    EXPECT_EQ(checked(), kUsable);
}

TEST_F(InventoryPermissions, TakeALocationBeforeTheFirstSectionOnly) {
    here.write("talInst.loc", "[section]\ninventory_loc=relative\n");
    EXPECT_EQ(checked(), kUsable);
}

TEST_F(InventoryPermissions, TakeTheLocationOfTheCommandLineBeforeThePointerFile) {
    launcher_state::useInventoryLocation = true;
    launcher_state::inventoryLocation = here.file("given");
    EXPECT_EQ(checked_with_pointer("relative/inv"), kUsable);
    EXPECT_TRUE(std::filesystem::is_directory(here.file("given")));
}

TEST_F(InventoryPermissions, NeedNoCheckForAnEmptyLocationOnTheCommandLine) {
    launcher_state::useInventoryLocation = true;
    EXPECT_EQ(checked_with_pointer("relative/inv"), kUsable);
}

TEST_F(InventoryPermissions, RefuseARelativeLocation) {
    EXPECT_EQ(checked_with_pointer("relative/inv"),
              refused(path_refusal("relative/inv", " is not absolute")));
}

TEST_F(InventoryPermissions, RefuseARelativeLocationBeforeItsCharacters) {
    EXPECT_EQ(checked_with_pointer("relative:inv"),
              refused(path_refusal("relative:inv", " is not absolute")));
}

TEST_F(InventoryPermissions, RefuseEachOfTheSevenCharacters) {
    launcher_state::useInventoryLocation = true;
    here.write("talInst.loc", "");
    for (const char c : std::string("\"*:<>?|")) {
        launcher_state::inventoryLocation = here.file("inv") + c + "x";
        EXPECT_EQ(checked(),
                  refused(path_refusal(launcher_state::inventoryLocation, " has bad characters")));
        EXPECT_FALSE(std::filesystem::exists(launcher_state::inventoryLocation));
    }
    launcher_state::useInventoryLocation = false;
    EXPECT_EQ(checked_with_pointer("/u01/inv:x"),
              refused(path_refusal("/u01/inv:x", " has bad characters")));
}

TEST_F(InventoryPermissions, AcceptALocationWithASemicolonAndABackslash) {
    launcher_state::useInventoryLocation = true;
    launcher_state::inventoryLocation = here.file("a;b\\c");
    EXPECT_EQ(checked(), kUsable);
    EXPECT_TRUE(std::filesystem::is_directory(here.file("a;b\\c")));
}

TEST_F(InventoryPermissions, CreateTheWholeChainOfAMissingLocation) {
    const Mask mask(007);
    EXPECT_EQ(checked_with_pointer(here.file("a/b/c/inv")), kUsable);
    for (const char* directory : {"a", "a/b", "a/b/c", "a/b/c/inv"})
        EXPECT_EQ(mode_of(here.file(directory)), 0770U) << directory;
}

TEST_F(InventoryPermissions, RefuseALocationThatCannotBeCreated) {
    const std::string location = here.write("file", "") + "/a/b/inv";
    EXPECT_EQ(checked_with_pointer(location), refused("<no permission for " + location + ">"));
}

TEST_F(InventoryPermissions, RefuseALocationThatMayNotBeReadWrittenOrSearched) {
    as_ordinary_user([] {
        const TemporaryDirectory inside;
        const std::string location = inside.file("inv");
        std::filesystem::create_directory(location);
        launcher_state::useInventoryLocation = true;
        launcher_state::inventoryLocation = location;
        for (const mode_t mode : {0300U, 0500U, 0600U}) {
            EXPECT_EQ(chmod(location.c_str(), mode), 0);
            EXPECT_EQ(checked(), refused("<no permission for " + location + ">")) << mode;
        }
        EXPECT_EQ(chmod(location.c_str(), 0700), 0);
        EXPECT_EQ(checked(), kUsable);
    });
}

TEST_F(InventoryPermissions, RefuseAnInventoryWithAReadOnlyFileNamingIt) {
    as_ordinary_user([] {
        const TemporaryDirectory inside;
        launcher_state::useInventoryLocation = true;
        launcher_state::inventoryLocation = inside.path();
        inside.write("good", "");
        const std::string file = inside.write("read_only", "");
        for (const mode_t mode : {0400U, 0200U, 0000U}) {
            EXPECT_EQ(chmod(file.c_str(), mode), 0);
            EXPECT_EQ(checked(), refused("<no permission for " + file + ">")) << mode;
        }
        EXPECT_EQ(chmod(file.c_str(), 0600), 0);
        EXPECT_EQ(checked(), kUsable);
    });
}

TEST_F(InventoryPermissions, RefuseAnInventoryWithAClosedDirectoryNamingIt) {
    as_ordinary_user([] {
        const TemporaryDirectory inside;
        launcher_state::useInventoryLocation = true;
        launcher_state::inventoryLocation = inside.path();
        const std::string directory = inside.file("logs");
        std::filesystem::create_directory(directory);
        for (const mode_t mode : {0300U, 0500U, 0600U}) {
            EXPECT_EQ(chmod(directory.c_str(), mode), 0);
            EXPECT_EQ(checked(), refused("<no permission for " + directory + ">")) << mode;
        }
        EXPECT_EQ(chmod(directory.c_str(), 0700), 0);
        EXPECT_EQ(checked(), kUsable);
    });
}

TEST_F(InventoryPermissions, RefuseAHiddenEntryAndADanglingLinkLikeAnyOther) {
    std::filesystem::create_directory(here.file("inv"));
    std::filesystem::create_symlink("nowhere", here.file("inv/.dangling"));
    EXPECT_EQ(checked_with_pointer(here.file("inv")),
              refused("<no permission for " + here.file("inv/.dangling") + ">"));
}

TEST_F(InventoryPermissions, NameOnlyTheFirstEntryThatFails) {
    std::filesystem::create_directory(here.file("inv"));
    std::filesystem::create_symlink("nowhere", here.file("inv/one"));
    std::filesystem::create_symlink("nowhere", here.file("inv/two"));
    const std::string first = directory_entries(here.file("inv")).names.front();
    EXPECT_EQ(checked_with_pointer(here.file("inv")),
              refused("<no permission for " + here.file("inv/") + first + ">"));
}

TEST_F(InventoryPermissions, DoNotLookIntoSubdirectories) {
    as_ordinary_user([] {
        const TemporaryDirectory inside;
        launcher_state::useInventoryLocation = true;
        launcher_state::inventoryLocation = inside.path();
        std::filesystem::create_directory(inside.file("logs"));
        EXPECT_EQ(chmod(inside.write("logs/read_only", "").c_str(), 0400), 0);
        EXPECT_EQ(checked(), kUsable);
    });
}

TEST_F(InventoryPermissions, NeedNoExecutableFiles) {
    as_ordinary_user([] {
        const TemporaryDirectory inside;
        launcher_state::useInventoryLocation = true;
        launcher_state::inventoryLocation = inside.path();
        EXPECT_EQ(chmod(inside.write("file", "").c_str(), 0600), 0);
        EXPECT_EQ(checked(), kUsable);
    });
}

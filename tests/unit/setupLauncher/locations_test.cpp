#include "setupLauncher/locations.h"

#include "base/launcher_state.h"
#include "base/status.h"
#include "unit_surroundings.h"

#include <cerrno>
#include <map>

namespace {

// The groups of the operator and their names, in place of the system's.
std::vector<gid_t> operators_groups;
std::map<gid_t, std::string> known_groups;
bool groups_can_be_read = true;
bool groups_can_only_be_counted = false;

std::string startup_location(const std::string& invoked_by) {
    std::string location;
    GetStartupLocation(invoked_by, location);
    return location;
}

std::string bootstrap_location(const std::string& argument) {
    std::string location = "before";
    GetBootStrapLoc(location, argument);
    return location;
}

std::string jvm_options(const std::string& argument) {
    std::string options = "before";
    GetJvmOptions(options, argument);
    return options;
}

std::string inventory_location(const std::string& argument) {
    std::string location = "before";
    GetInventoryLoc(location, argument);
    return location;
}

std::string prereq_location(const std::string& argument, bool names_file = false) {
    std::string location = "before";
    GetPrereqConfigLoc(location, argument, names_file);
    return location;
}

std::string absolute_path(const std::string& path) {
    std::string absolute = "before";
    GetAbsolutePath(absolute, path);
    return absolute;
}

std::string unix_groups(const std::vector<gid_t>& groups,
                        const std::map<gid_t, std::string>& known) {
    operators_groups = groups;
    known_groups = known;
    std::string text = "before";
    computeUnixGroups(text);
    return text;
}

std::string root_directory(const std::string& path) {
    std::string root = "before";
    const int length = getRootDir(path, root);
    EXPECT_EQ(length, static_cast<int>(root.size()));
    return root;
}

// What `call` complains about in debug mode and without it.
template <typename Call>
std::string complained_in_mode(bool debug, const Call& call) {
    const Catalogue catalogue{{"S_ERABS_PATH", "no absolute path for %s"}};
    launcher_state::_bDebug = debug;
    const std::string complaint = complained_by(call);
    launcher_state::_bDebug = false;
    return complaint;
}

} // namespace

// These stand before the library's own, so that the list of groups does not depend on who runs the
// tests.
extern "C" int getgroups(int size, gid_t* list) noexcept {
    const int count = static_cast<int>(operators_groups.size());
    if (!groups_can_be_read || (size != 0 && (groups_can_only_be_counted || size < count))) {
        errno = EINVAL;
        return -1;
    }
    if (size != 0)
        std::copy(operators_groups.begin(), operators_groups.end(), list);
    return count;
}

extern "C" group* getgrgid(gid_t id) {
    static group found;
    const auto known = known_groups.find(id);
    if (known == known_groups.end())
        return nullptr;
    found.gr_name = known->second.data();
    return &found;
}

TEST(GetStartupLocation, OfAnInvokedPathIsItsDirectory) {
    EXPECT_EQ(startup_location("/mnt/stage/setupLauncher"), "/mnt/stage");
    EXPECT_EQ(startup_location("stage/setupLauncher"), "stage");
}

TEST(GetStartupLocation, DropsALeadingDotAndSlash) {
    EXPECT_EQ(startup_location("./stage/setupLauncher"), "stage");
    EXPECT_EQ(startup_location("././setupLauncher"), ".");
}

TEST(GetStartupLocation, WithoutADirectoryIsADot) {
    EXPECT_EQ(startup_location("./setupLauncher"), ".");
    EXPECT_EQ(startup_location("setupLauncher"), ".");
}

TEST(GetStartupLocation, KeepsDotsThatAreNotAtTheStart) {
    EXPECT_EQ(startup_location("../setupLauncher"), "..");
    EXPECT_EQ(startup_location("/mnt/./setupLauncher"), "/mnt/.");
}

TEST(GetStartupLocation, OfALauncherInTheRootDirectoryIsEmpty) {
    EXPECT_EQ(startup_location("/setupLauncher"), "");
}

TEST(GetStartupLocation, OfAnEmptyRestIsADotOrWhatWasThere) {
    EXPECT_EQ(startup_location("./"), ".");
    EXPECT_EQ(startup_location(""), ".");
    std::string location = "/before";
    GetStartupLocation("./", location);
    EXPECT_EQ(location, "/before");
}

TEST(SessionVariables, WithoutAnEqualsSignLeaveTheOutputUntouched) {
    for (const char* argument : {"BOOTSTRAP_LOC", "", "\"/tmp\""}) {
        EXPECT_EQ(bootstrap_location(argument), "before");
        EXPECT_EQ(jvm_options(argument), "before");
        EXPECT_EQ(inventory_location(argument), "before");
        EXPECT_EQ(prereq_location(argument), "before");
        EXPECT_EQ(prereq_location(argument, true), "before");
    }
}

TEST(SessionVariables, WithoutAValueLeaveTheOutputUntouched) {
    for (const char* argument : {"KEY=", "=", "KEY==="}) {
        EXPECT_EQ(bootstrap_location(argument), "before");
        EXPECT_EQ(inventory_location(argument), "before");
        EXPECT_EQ(prereq_location(argument), "before");
        EXPECT_EQ(prereq_location(argument, true), "before");
    }
    EXPECT_EQ(jvm_options("JVM_OPTIONS="), "before");
    EXPECT_EQ(jvm_options("JVM_OPTIONS=\"\""), "before");
}

TEST(SessionVariables, EndAtTheNextEqualsSign) {
    EXPECT_EQ(bootstrap_location("BOOTSTRAP_LOC=/tmp/a=b"), "/tmp/a");
    EXPECT_EQ(inventory_location("INVENTORY_LOCATION=/no/such=b"), "/no/such");
    EXPECT_EQ(prereq_location("PREREQ_CONFIG_LOCATION=/no/such=b"), "/no/such");
}

TEST(SessionVariables, LoseALeadingDoubleQuote) {
    EXPECT_EQ(bootstrap_location("BOOTSTRAP_LOC=\"/tmp/boot"), "/tmp/boot");
    EXPECT_EQ(bootstrap_location("BOOTSTRAP_LOC=\"\"/tmp/boot"), "\"/tmp/boot");
    EXPECT_EQ(jvm_options("JVM_OPTIONS=\"-Xmx512m"), "-Xmx512m");
    EXPECT_EQ(inventory_location("INVENTORY_LOCATION=\"/no/such"), "/no/such");
    EXPECT_EQ(prereq_location("PREREQ_CONFIG_LOCATION=\"/no/such"), "/no/such");
}

TEST(SessionVariables, HaveNoLongestValue) {
    const std::string value = "/" + std::string(5000, 'v');
    EXPECT_EQ(bootstrap_location("BOOTSTRAP_LOC=" + value), value);
    EXPECT_EQ(jvm_options("JVM_OPTIONS=" + value), value);
    EXPECT_EQ(inventory_location("INVENTORY_LOCATION=" + value), value);
    EXPECT_EQ(prereq_location("PREREQ_CONFIG_LOCATION=" + value), value);
}

TEST(GetBootStrapLoc, GivesTheValueAsItIs) {
    EXPECT_EQ(bootstrap_location("BOOTSTRAP_LOC=relative/./boot"), "relative/./boot");
}

TEST(GetBootStrapLoc, RemovesTheQuotesThatTheShellKept) {
    EXPECT_EQ(bootstrap_location("BOOTSTRAP_LOC=\"/tmp/boot\""), "/tmp/boot");
    EXPECT_EQ(bootstrap_location("BOOTSTRAP_LOC=/tmp/boot\""), "/tmp/boot");
}

TEST(GetBootStrapLoc, RemovesAClosingQuoteWithTheBlanksBehindIt) {
    EXPECT_EQ(bootstrap_location("BOOTSTRAP_LOC=\"/tmp/boot \"  "), "/tmp/boot ");
}

TEST(GetBootStrapLoc, KeepsBlanksWithoutAClosingQuote) {
    EXPECT_EQ(bootstrap_location("BOOTSTRAP_LOC=/tmp/boot  "), "/tmp/boot  ");
    EXPECT_EQ(bootstrap_location("BOOTSTRAP_LOC=  "), "  ");
}

TEST(GetJvmOptions, GivesTheWholeTextBehindTheFirstEqualsSign) {
    EXPECT_EQ(jvm_options("JVM_OPTIONS=-Xmx512m -Dx=y"), "-Xmx512m -Dx=y");
}

TEST(GetJvmOptions, EndsAtTheNextDoubleQuote) {
    EXPECT_EQ(jvm_options("JVM_OPTIONS=\"-Xmx512m -Dx=y\" -Dmore"), "-Xmx512m -Dx=y");
    EXPECT_EQ(jvm_options("JVM_OPTIONS=-Dx=\"y z\""), "-Dx=");
}

TEST(GetJvmOptions, KeepsBlanksAtTheEnd) {
    EXPECT_EQ(jvm_options("JVM_OPTIONS=-Xmx512m  "), "-Xmx512m  ");
}

TEST(GetInventoryLoc, OfARelativeDirectoryIsAbsoluteWhenItExists) {
    const TemporaryDirectory here;
    std::filesystem::create_directories(here.file("relative/dir"));
    const WorkingDirectory inside(here.path());
    EXPECT_EQ(inventory_location("INVENTORY_LOCATION=relative/dir"), here.file("relative/dir"));
    EXPECT_EQ(inventory_location("INVENTORY_LOCATION=\"relative/../relative/dir/\""),
              here.file("relative/dir"));
}

TEST(GetInventoryLoc, OfAMissingDirectoryIsTheTextAsItStands) {
    const TemporaryDirectory here;
    const WorkingDirectory inside(here.path());
    EXPECT_EQ(inventory_location("INVENTORY_LOCATION=relative/dir"), "relative/dir");
}

TEST(GetInventoryLoc, RemovesADoubleQuoteInTheVeryLastPositionOnly) {
    EXPECT_EQ(inventory_location("INVENTORY_LOCATION=\"/no/such\""), "/no/such");
    EXPECT_EQ(inventory_location("INVENTORY_LOCATION=\"/no/such\" "), "/no/such\" ");
}

TEST(GetInventoryLoc, ReportsAMissingDirectoryInDebugModeOnly) {
    std::string location;
    const auto call = [&location] { GetInventoryLoc(location, "INVENTORY_LOCATION=no/such"); };
    EXPECT_EQ(complained_in_mode(true, call),
              "<no absolute path for no/such>: No such file or directory\n");
    EXPECT_EQ(complained_in_mode(false, call), "");
    EXPECT_EQ(location, "no/such");
}

TEST(GetPrereqConfigLoc, IsResolvedLikeTheInventoryLocation) {
    const TemporaryDirectory here;
    std::filesystem::create_directories(here.file("relative/dir"));
    const WorkingDirectory inside(here.path());
    EXPECT_EQ(prereq_location("PREREQ_CONFIG_LOCATION=\"relative/dir\""),
              here.file("relative/dir"));
    EXPECT_EQ(prereq_location("PREREQ_CONFIG_LOCATION=no/such"), "no/such");
    EXPECT_EQ(prereq_location("PREREQ_CONFIG_LOCATION=\"no/such\" "), "no/such\" ");
}

TEST(GetPrereqConfigLoc, FromAFileOfTheStageIsPrereqBesideIt) {
    EXPECT_EQ(prereq_location("FROM_LOCATION=/stage/Disk1/stage/products.xml", true),
              "/stage/Disk1/stage/prereq");
    EXPECT_EQ(prereq_location("FROM_LOCATION=\"/stage/Disk1/stage/products.xml\"", true),
              "/stage/Disk1/stage/prereq");
}

TEST(GetPrereqConfigLoc, FromAFileOfTheStageIsAbsoluteWhenItExists) {
    const TemporaryDirectory here;
    std::filesystem::create_directories(here.file("stage/prereq"));
    const WorkingDirectory inside(here.path());
    EXPECT_EQ(prereq_location("FROM_LOCATION=stage/products.xml", true), here.file("stage/prereq"));
}

TEST(GetPrereqConfigLoc, FromAFileWithoutADirectoryLiesBelowThatName) {
    EXPECT_EQ(prereq_location("FROM_LOCATION=no_such.xml", true), "no_such.xml/prereq");
}

TEST(GetPrereqConfigLoc, FromAnEmptyValueLiesInTheCurrentOutput) {
    EXPECT_EQ(prereq_location("FROM_LOCATION=\"", true), "before/prereq");
    EXPECT_EQ(prereq_location("FROM_LOCATION=\"\"", true), "before/prereq");
}

TEST(GetPrereqConfigLoc, ReportsAMissingLocationInDebugModeOnly) {
    std::string location;
    const auto call = [&location] {
        GetPrereqConfigLoc(location, "FROM_LOCATION=/no/such/products.xml", true);
    };
    EXPECT_EQ(complained_in_mode(true, call),
              "<no absolute path for /no/such/prereq>: No such file or directory\n");
    EXPECT_EQ(complained_in_mode(false, call), "");
    EXPECT_EQ(location, "/no/such/prereq");
}

TEST(GetAbsolutePath, ResolvesLinksAndDots) {
    const TemporaryDirectory here;
    std::filesystem::create_directory(here.file("real"));
    std::filesystem::create_symlink("real", here.file("link"));
    const WorkingDirectory inside(here.path());
    EXPECT_EQ(absolute_path("./link/../link/."), here.file("real"));
}

TEST(GetAbsolutePath, GivesThePathItselfWhenItCannotBeResolved) {
    EXPECT_EQ(absolute_path("no/such/../dir"), "no/such/../dir");
    EXPECT_EQ(absolute_path(""), "");
}

TEST(GetAbsolutePath, ReportsAnUnresolvedPathInDebugModeWithTheSystemsReason) {
    const TemporaryDirectory here;
    const std::string path = here.write("file", "") + "/below";
    std::string absolute;
    EXPECT_EQ(complained_in_mode(true, [&] { GetAbsolutePath(absolute, path); }),
              "<no absolute path for " + path + ">: Not a directory\n");
    EXPECT_EQ(complained_in_mode(false, [&] { GetAbsolutePath(absolute, path); }), "");
}

TEST(IsCurDirInCD, DoesNotHoldWithoutAMountTable) {
    ASSERT_FALSE(std::filesystem::exists("/etc/mnttab"));
    EXPECT_EQ(isCurDirInCD("/cdrom/x"), kOk);
    EXPECT_EQ(isCurDirInCD(""), kOk);
}

TEST(ComputeUnixGroups, NamesEveryGroupWithACommaBehindIt) {
    EXPECT_EQ(unix_groups({10, 20}, {{10, "staff"}, {20, "dba"}}), "UnixGroups=\"{staff,dba,}\"");
    EXPECT_EQ(unix_groups({20, 10}, {{10, "staff"}, {20, "dba"}}), "UnixGroups=\"{dba,staff,}\"");
}

TEST(ComputeUnixGroups, SkipsGroupsWithoutAName) {
    EXPECT_EQ(unix_groups({10, 11, 20}, {{10, "staff"}, {20, "dba"}}),
              "UnixGroups=\"{staff,dba,}\"");
    EXPECT_EQ(unix_groups({11}, {}), "UnixGroups=\"{}\"");
}

TEST(ComputeUnixGroups, LeavesTheTextUntouchedWithoutAnyGroup) {
    EXPECT_EQ(unix_groups({}, {}), "before");
}

TEST(ComputeUnixGroups, LeavesTheTextUntouchedWhenTheGroupsCannotBeRead) {
    groups_can_be_read = false;
    EXPECT_EQ(unix_groups({10}, {{10, "staff"}}), "before");
    groups_can_be_read = true;
}

TEST(ComputeUnixGroups, LeavesTheTextUntouchedWhenTheGroupsAreGoneOnceCounted) {
    groups_can_only_be_counted = true;
    EXPECT_EQ(unix_groups({10}, {{10, "staff"}}), "before");
    groups_can_only_be_counted = false;
}

TEST(ComputeUnixGroups, NamesTheFirstFortyOfManyGroups) {
    for (const gid_t count : {40U, 41U, 100U}) {
        std::vector<gid_t> groups;
        std::map<gid_t, std::string> known;
        std::string first_forty;
        for (gid_t id = 0; id < count; ++id) {
            groups.push_back(id);
            known[id] = "g" + std::to_string(id);
            if (id < 40)
                first_forty += known[id] + ",";
        }
        EXPECT_EQ(unix_groups(groups, known), "UnixGroups=\"{" + first_forty + "}\"") << count;
    }
}

TEST(GetRootDir, IsTheFirstComponentWithItsSlash) {
    EXPECT_EQ(root_directory("/cdrom/disk1/stage"), "/cdrom");
    EXPECT_EQ(root_directory("/cdrom"), "/cdrom");
    EXPECT_EQ(root_directory("/c"), "/c");
}

TEST(GetRootDir, OfAPathOfFewerThanTwoCharactersIsASlash) {
    EXPECT_EQ(root_directory("/"), "/");
    EXPECT_EQ(root_directory("x"), "/");
    EXPECT_EQ(root_directory(""), "/");
}

TEST(GetRootDir, CutsNoLongComponent) {
    const std::string component = "/" + std::string(500, 'c');
    EXPECT_EQ(root_directory(component + "/stage"), component);
}

TEST(ToUpper, TurnsTheLettersAToZIntoUpperCase) {
    std::string upper;
    EXPECT_EQ(toUpper("-detachHome az_09\xe4", upper), 18);
    EXPECT_EQ(upper, "-DETACHHOME AZ_09\xe4");
    EXPECT_EQ(toUpper("", upper), 0);
    EXPECT_EQ(upper, "");
}

TEST(ToUpper, MayWriteOverItsOwnInput) {
    std::string text = "ignore";
    EXPECT_EQ(toUpper(text, text), 6);
    EXPECT_EQ(text, "IGNORE");
}

TEST(AsciiToUpper, ChangesTheLettersAToZAndNoOtherCode) {
    for (int code = -1; code < 256; ++code)
        EXPECT_EQ(ascii_toupper(code), code >= 'a' && code <= 'z' ? code - 32 : code) << code;
}

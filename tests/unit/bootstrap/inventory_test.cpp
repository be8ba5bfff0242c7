// The inventory pointer, with a stand-in for the parameter file reader: the pointer file's place is
// fixed, and what lies there on this machine must not decide a test.
#include "bootstrap/inventory.h"

#include "unit_support.h"

#include <map>
#include <vector>

namespace {

using Entries = std::map<std::string, std::string>;

constexpr const char* kPointerFile = "/var/opt/talvex/talInst.loc";

// What the machine has: a file's entries by its path. A file that is not here cannot be opened.
std::map<std::string, Entries> files;
// The lookups that were made: the file, a blank and the key.
std::vector<std::string> lookups;

} // namespace

// Found before the reader of the launcher's library.
void GenericGetPrivateProfileString(const char* pSection, const char* pVarName,
                                    const char* pDefault, std::string& pValue, int nVal,
                                    const char* pFileName) {
    EXPECT_EQ(pSection, nullptr) << "the files have no sections";
    EXPECT_STREQ(pDefault, "");
    EXPECT_EQ(nVal, 1024);
    lookups.push_back(std::string(pFileName) + " " + pVarName);
    const auto file = files.find(pFileName);
    pValue = pDefault;
    if (file != files.end() && file->second.contains(pVarName))
        pValue = file->second.at(pVarName);
}

namespace {

class Inventory : public testing::Test {
  protected:
    Inventory() {
        files.clear();
        lookups.clear();
    }
    int find_installer() {
        return GetZulLocation(home_, 1024, version_);
    }

    std::string home_ = "home before";
    std::string version_ = "version before";
};

TEST_F(Inventory, TheInventoryDirectoryIsTheOneThatThePointerFileNames) {
    files[kPointerFile] = Entries{{"inventory_loc", "/opt/inventory"}};
    std::string directory = "before";
    const int size = 1024;
    EXPECT_EQ(GetInventoryLocation(directory, &size), 0);
    EXPECT_EQ(directory, "/opt/inventory");
    EXPECT_EQ(lookups, std::vector<std::string>{std::string(kPointerFile) + " inventory_loc"});
}

TEST_F(Inventory, WithoutPointerFileTheResultIsZeroAndTheDirectoryEmpty) {
    std::string directory = "before";
    EXPECT_EQ(GetInventoryLocation(directory, nullptr), 0);
    EXPECT_EQ(directory, "");
}

TEST_F(Inventory, TheSizeIsNotUsed) {
    const std::string longer(2000, 'x');
    files[kPointerFile] = Entries{{"inventory_loc", longer}};
    std::string directory;
    const int size = 10;
    EXPECT_EQ(GetInventoryLocation(directory, &size), 0);
    EXPECT_EQ(directory, longer);
}

TEST_F(Inventory, TheInstallerIsFoundThroughBothFiles) {
    files[kPointerFile] = Entries{{"inventory_loc", "/opt/inventory"}};
    files["/opt/inventory/zul.loc"] = Entries{{"InstLoc", "/opt/zul"}, {"InstVer", "1.7.0.0.0"}};
    EXPECT_EQ(find_installer(), 0);
    EXPECT_EQ(home_, "/opt/zul");
    EXPECT_EQ(version_, "1.7.0.0.0");
    EXPECT_EQ(lookups, (std::vector<std::string>{std::string(kPointerFile) + " inventory_loc",
                                                 "/opt/inventory/zul.loc InstLoc",
                                                 "/opt/inventory/zul.loc InstVer"}));
}

TEST_F(Inventory, WithoutPointerFileTheInstallerIsLookedForInTheRootDirectory) {
    files["/zul.loc"] = Entries{{"InstLoc", "/opt/zul"}, {"InstVer", "1.7"}};
    EXPECT_EQ(find_installer(), 0);
    EXPECT_EQ(home_, "/opt/zul");
    EXPECT_EQ(version_, "1.7");
}

TEST_F(Inventory, ATrailingSlashOfTheInventoryDirectoryLeadsToTwo) {
    files[kPointerFile] = Entries{{"inventory_loc", "/opt/inventory/"}};
    files["/opt/inventory//zul.loc"] = Entries{{"InstLoc", "/opt/zul"}};
    EXPECT_EQ(find_installer(), 0);
    EXPECT_EQ(home_, "/opt/zul");
}

TEST_F(Inventory, WithoutVersionTheResultIsZeroAndTheVersionEmpty) {
    files[kPointerFile] = Entries{{"inventory_loc", "/opt/inventory"}};
    files["/opt/inventory/zul.loc"] = Entries{{"InstLoc", "/opt/zul"}};
    EXPECT_EQ(find_installer(), 0);
    EXPECT_EQ(home_, "/opt/zul");
    EXPECT_EQ(version_, "");
}

TEST_F(Inventory, WithoutTheInstallersFileTheResultIsMinusOneAndBothOutputsUntouched) {
    files[kPointerFile] = Entries{{"inventory_loc", "/opt/inventory"}};
    EXPECT_EQ(find_installer(), -1);
    EXPECT_EQ(home_, "home before");
    EXPECT_EQ(version_, "version before");
}

TEST_F(Inventory, AVersionWithoutHomeIsMinusOneAndBothOutputsUntouched) {
    files[kPointerFile] = Entries{{"inventory_loc", "/opt/inventory"}};
    files["/opt/inventory/zul.loc"] = Entries{{"InstVer", "1.7"}};
    EXPECT_EQ(find_installer(), -1);
    EXPECT_EQ(home_, "home before");
    EXPECT_EQ(version_, "version before");
}

TEST_F(Inventory, NothingIsShownOrComplainedAbout) {
    EXPECT_EQ(shown_by([&] { EXPECT_EQ(find_installer(), -1); }), "");
    EXPECT_EQ(complained_by([&] { EXPECT_EQ(find_installer(), -1); }), "");
}

} // namespace

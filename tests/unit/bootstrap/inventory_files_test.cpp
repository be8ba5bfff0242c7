// The inventory pointer read from real files. The pointer file's place is fixed, so a stand-in for
// fopen leads from there into a directory of the test.
#include "bootstrap/inventory.h"

#include "unit_support.h"

#include <dlfcn.h>
#include <string_view>

namespace {

constexpr std::string_view kPointerFile = "/var/opt/talvex/talInst.loc";

std::string pointer_file;

class InventoryFiles : public testing::Test {
  protected:
    InventoryFiles() {
        pointer_file = here.file("talInst.loc");
        std::filesystem::create_directory(here.file("inventory"));
    }
    int find_installer() {
        return GetZulLocation(home, 1024, version);
    }

    TemporaryDirectory here;
    std::string home = "home before";
    std::string version = "version before";
};

} // namespace

// Stands before the library's own.
extern "C" std::FILE* fopen(const char* path, const char* mode) {
    using Open = std::FILE* (*)(const char*, const char*);
    static const Open library = reinterpret_cast<Open>(dlsym(RTLD_NEXT, "fopen"));
    return library(path == kPointerFile ? pointer_file.c_str() : path, mode);
}

TEST_F(InventoryFiles, AreReadAsTheyAreWrittenByAnInstaller) {
    here.write("talInst.loc",
               "inventory_loc=" + here.file("inventory") + "\r\ninst_group=staff\r\n");
    here.write("inventory/zul.loc", "#written once\nInstLoc= /opt/zul \nInstVer=1.7.0.0.0\n");
    EXPECT_EQ(find_installer(), 0);
    EXPECT_EQ(home, "/opt/zul");
    EXPECT_EQ(version, "1.7.0.0.0");
}

TEST_F(InventoryFiles, HaveTheirKeysBeforeAnySection) {
    here.write("talInst.loc", "[inventory]\ninventory_loc=" + here.file("inventory") + "\n");
    std::string directory = "before";
    EXPECT_EQ(GetInventoryLocation(directory, nullptr), 0);
    EXPECT_EQ(directory, "");
}

TEST_F(InventoryFiles, MayBeMissing) {
    std::string directory = "before";
    EXPECT_EQ(GetInventoryLocation(directory, nullptr), 0);
    EXPECT_EQ(directory, "");
    here.write("talInst.loc", "inventory_loc=" + here.file("inventory") + "\n");
    EXPECT_EQ(find_installer(), -1);
    EXPECT_EQ(home, "home before");
    EXPECT_EQ(version, "version before");
}

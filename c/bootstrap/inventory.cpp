#include "bootstrap/inventory.h"

#include "base/profile.h"
#include "base/status.h"

namespace {

constexpr const char* kPointerFile = "/var/opt/talvex/talInst.loc";
constexpr int kLongestValue = 1024;

void look_up(const char* key, std::string& value, const char* file) {
    GenericGetPrivateProfileString(nullptr, key, "", value, kLongestValue, file);
}

} // namespace

int GetInventoryLocation(std::string& invLoc, const int* /*size*/) {
    look_up("inventory_loc", invLoc, kPointerFile);
    return kOk;
}

int GetZulLocation(std::string& zulLoc, int /*size*/, std::string& zulVersion) {
    std::string inventory;
    if (GetInventoryLocation(inventory, &kLongestValue) != kOk)
        return kFailed;
    const std::string file = inventory + "/" + "zul.loc";
    std::string home;
    look_up("InstLoc", home, file.c_str());
    if (home.empty())
        return kFailed;
    zulLoc = home;
    look_up("InstVer", zulVersion, file.c_str());
    return kOk;
}

#include "base/launcher_state.h"

#include "unit_support.h"

namespace {

void expect_defaults() {
    EXPECT_FALSE(launcher_state::_bSilent);
    EXPECT_FALSE(launcher_state::_bDebug);
    EXPECT_FALSE(launcher_state::_bMemory);
    EXPECT_FALSE(launcher_state::_bPrereqSession);
    EXPECT_FALSE(launcher_state::_bJreLocation);
    EXPECT_FALSE(launcher_state::_bPrintTime);
    EXPECT_FALSE(launcher_state::noWaitOption);
    EXPECT_EQ(launcher_state::nJavaOptionsSpecified, 0);
    EXPECT_FALSE(launcher_state::_bDistribution);
    EXPECT_FALSE(launcher_state::_bisJre);
    EXPECT_EQ(launcher_state::disableJrePrompt, "");
    EXPECT_EQ(launcher_state::useJreOnly, "");
    EXPECT_EQ(launcher_state::useJdkOnly, "");
    EXPECT_EQ(launcher_state::gsTimeStamp, "");
    EXPECT_EQ(launcher_state::gsLogFileName, "/installActions");
    EXPECT_EQ(launcher_state::scratchPath, "");
    EXPECT_EQ(launcher_state::prereqLogLocation, "");
    EXPECT_EQ(launcher_state::sInvPtrLocation, "/var/opt/talvex/talInst.loc");
    EXPECT_EQ(launcher_state::inventoryLocation, "");
    EXPECT_FALSE(launcher_state::useInventoryLocation);
    EXPECT_FALSE(launcher_state::useFromLocForPrereq);
    EXPECT_EQ(launcher_state::iUmask, 0);
    EXPECT_EQ(launcher_state::sUmask, "");
    EXPECT_EQ(launcher_state::sUmaskLogMsg, "");
    EXPECT_EQ(launcher_state::_lpCommand, nullptr);
}

} // namespace

TEST(LauncherState, ALaunchBeginsWithEveryFlagOffEveryTextEmptyAndTwoNamesSet) {
    launcher_state::reset();
    expect_defaults();
}

TEST(LauncherState, ResetPutsEveryValueBackToItsDefault) {
    for (bool* flag :
         {&launcher_state::_bSilent, &launcher_state::_bDebug, &launcher_state::_bMemory,
          &launcher_state::_bPrereqSession, &launcher_state::_bJreLocation,
          &launcher_state::_bPrintTime, &launcher_state::noWaitOption,
          &launcher_state::_bDistribution, &launcher_state::_bisJre,
          &launcher_state::useInventoryLocation, &launcher_state::useFromLocForPrereq})
        *flag = true;
    launcher_state::nJavaOptionsSpecified = 3;
    launcher_state::iUmask = 022;
    launcher_state::_lpCommand = "command";
    for (std::string* text :
         {&launcher_state::disableJrePrompt, &launcher_state::useJreOnly,
          &launcher_state::useJdkOnly, &launcher_state::gsTimeStamp, &launcher_state::gsLogFileName,
          &launcher_state::scratchPath, &launcher_state::prereqLogLocation,
          &launcher_state::sInvPtrLocation, &launcher_state::inventoryLocation,
          &launcher_state::sUmask, &launcher_state::sUmaskLogMsg})
        *text = "changed";
    launcher_state::reset();
    expect_defaults();
}

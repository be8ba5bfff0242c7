#include "setupLauncher/decisions.h"

#include "base/launcher_state.h"

#include <gtest/gtest.h>

namespace {

struct Decisions : testing::Test {
    Decisions() {
        launcher_state::reset();
        command_line.arguments = {"/stage/install/setupLauncher"};
    }
    CommandLine command_line;
    Settings settings;
    std::string original;
};

TEST_F(Decisions, ASettingIsOnThatBeginsWithACapitalT) {
    for (const char* text : {"T", "TRUE", "True", "T x"})
        EXPECT_TRUE(is_on(text)) << text;
    for (const char* text : {"", "F", "FALSE", "t", "true", "1", "Y", " TRUE"})
        EXPECT_FALSE(is_on(text)) << text;
}

TEST_F(Decisions, TheStartLocationIsTheLaunchersDirectory) {
    decide_start_location(command_line, "/here", true, settings, original);
    EXPECT_EQ(settings.startupLoc, "/stage/install");
    EXPECT_EQ(original, "/stage/install");
}

TEST_F(Decisions, AParentsWordReplacesTheStartLocationWithoutItsQuotes) {
    command_line.bShipHomeLocation = true;
    command_line.sAlternativeStartupLoc = "\"/other\"";
    decide_start_location(command_line, "/here", true, settings, original);
    EXPECT_EQ(settings.startupLoc, "/other");
    EXPECT_EQ(original, "/here");
    decide_start_location(command_line, "/here", false, settings, original);
    EXPECT_EQ(original, "/other");
}

TEST_F(Decisions, ABootstrapSizeHasItsRange) {
    const std::pair<const char*, std::optional<long>> sizes[] = {
        {"69", 69},
        {"x", 0},
        {"8796093022207", 8796093022207},
        {"8796093022208", std::nullopt},
        {"-1", std::nullopt},
    };
    for (const auto& [text, size] : sizes) {
        settings.bootStrapSz = text;
        EXPECT_EQ(bootstrap_size(settings), size) << text;
    }
}

TEST_F(Decisions, TheRuntimeIsBroughtWhenOneIsKnown) {
    settings.jreDirLoc = "x";
    EXPECT_EQ(decide_on_runtime(command_line, settings), RuntimeOrigin::brought);
    settings.jreDirLoc.clear();
    settings.jreFullLoc = "x";
    EXPECT_EQ(decide_on_runtime(command_line, settings), RuntimeOrigin::brought);
}

TEST_F(Decisions, TheRuntimeIsAskedForWhenNoneIsKnownUnlessThatIsForbidden) {
    EXPECT_EQ(decide_on_runtime(command_line, settings), RuntimeOrigin::asked);
    for (const char* text : {"true", "T", "TRUE ", "TRUELY", "FALSE"}) {
        launcher_state::disableJrePrompt = text;
        EXPECT_EQ(decide_on_runtime(command_line, settings), RuntimeOrigin::asked) << text;
    }
    launcher_state::disableJrePrompt = "TRUE";
    EXPECT_EQ(decide_on_runtime(command_line, settings), RuntimeOrigin::none_allowed);
    command_line.bBootStrapOnly = true;
    EXPECT_EQ(decide_on_runtime(command_line, settings), RuntimeOrigin::brought);
    launcher_state::_bJreLocation = true;
    EXPECT_EQ(decide_on_runtime(command_line, settings), RuntimeOrigin::given);
}

TEST_F(Decisions, AMaskIsThreeOctalDigits) {
    EXPECT_EQ(mask_of("022"), 022);
    EXPECT_EQ(mask_of("777"), 0777);
    for (const char* text : {"", "22", "0022", "0228", "08", "018", "abc", "0 2"})
        EXPECT_EQ(mask_of(text), std::nullopt) << text;
}

TEST_F(Decisions, OnlyABootstrapIsNotWaitedForAndOnlyUntold) {
    EXPECT_TRUE(waits_for_installer(command_line, settings));
    settings.bootStrap = "TRUE";
    EXPECT_FALSE(waits_for_installer(command_line, settings));
    for (bool CommandLine::*flag :
         {&CommandLine::bCmdWait, &CommandLine::bCleanup, &CommandLine::bSaveInventory}) {
        CommandLine told;
        told.*flag = true;
        EXPECT_TRUE(waits_for_installer(told, settings));
    }
    settings.bWaitSync = "T";
    EXPECT_TRUE(waits_for_installer(command_line, settings));
}

} // namespace

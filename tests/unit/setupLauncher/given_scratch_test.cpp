#include "setupLauncher/given_scratch.h"

#include <gtest/gtest.h>

namespace {

// The text with the scratch directory "scratch", given in the directory /start.
std::string handed_on(const std::string& text) {
    return with_given_scratch({"scratch", "/start/scratch"}, text);
}

TEST(GivenScratch, ARelativeOneIsMeantInTheDirectoryInWhichTheLaunchBegan) {
    std::string location;
    const GivenScratch given = use_given_scratch(location, "a/b", "/start", true);
    EXPECT_EQ(location, "/start/a/b");
    EXPECT_EQ(given.text, "a/b");
    EXPECT_EQ(given.place, "/start/a/b");
}

TEST(GivenScratch, AWholePathIsItsOwnPlace) {
    std::string location;
    EXPECT_EQ(use_given_scratch(location, "/a/b", "/start", true).place, "");
    EXPECT_EQ(location, "/a/b");
}

TEST(GivenScratch, StaysAsGivenWhereNobodyKnowsTheCurrentDirectory) {
    std::string location = "before";
    EXPECT_EQ(use_given_scratch(location, "a", "/start", false).place, "");
    EXPECT_EQ(location, "a");
}

TEST(GivenScratch, AnEmptyOneIsNoDirectory) {
    std::string location = "before";
    EXPECT_EQ(use_given_scratch(location, "", "/start", true).place, "");
    EXPECT_EQ(location, "");
}

TEST(GivenScratch, IsHandedOnWhereverItStandsAsAPathOfItsOwn) {
    EXPECT_EQ(handed_on("/start/scratch"), "scratch");
    EXPECT_EQ(handed_on("/start/scratch/jlib/a.jar:/start/scratch/b.jar:/start/scratch"),
              "scratch/jlib/a.jar:scratch/b.jar:scratch");
    EXPECT_EQ(handed_on("-Dkey=/start/scratch"), "-Dkey=scratch");
    EXPECT_EQ(handed_on("\"/start/scratch/a\" /start/scratch"), "\"scratch/a\" scratch");
}

TEST(GivenScratch, IsNoOtherPathThatBeginsOrGoesOnLikeIt) {
    for (const char* text :
         {"/start/scratch2", "/start/scratchy/scratch", "/other/start/scratch", "x/start/scratch",
          "/start/scratch-1:/start/scratch.old", "", "/start"})
        EXPECT_EQ(handed_on(text), text);
    EXPECT_EQ(handed_on("/start/scratch2:/start/scratch"), "/start/scratch2:scratch");
}

TEST(GivenScratch, OfAWholePathChangesNothing) {
    EXPECT_EQ(with_given_scratch({}, "/start/scratch"), "/start/scratch");
}

TEST(GivenScratch, LeavesTheProgramAndWhatWasTypedAsTheyAre) {
    std::vector<std::string> args = {"/start/scratch/jre/bin/java", "-cp", "/start/scratch/a.jar",
                                     "-rscratchPath", "/start/scratch"};
    hand_on_given_scratch({"scratch", "/start/scratch"}, args, 2);
    EXPECT_EQ(args, (std::vector<std::string>{"/start/scratch/jre/bin/java", "-cp", "scratch/a.jar",
                                              "-rscratchPath", "/start/scratch"}));
    hand_on_given_scratch({"scratch", "/start/scratch"}, args, 9);
    EXPECT_EQ(args.back(), "/start/scratch");
}

} // namespace

#include "versions.h"

#include <gtest/gtest.h>

namespace {

using Names = std::vector<std::string>;

void expect_lower(const char* one, const char* other) {
    EXPECT_LT(compare_as_person(one, other), 0) << one << " " << other;
    EXPECT_GT(compare_as_person(other, one), 0) << one << " " << other;
}

TEST(CompareAsPerson, RanksNumbersByTheirValue) {
    expect_lower("1.9", "1.10");
    expect_lower("1.2", "1.2.1");
    expect_lower("9", "99999999999999999999");
    expect_lower("1.2.3.4.5.1", "1.2.3.4.5.2");
    EXPECT_EQ(compare_as_person("1.2", "1.2.0"), 0);
    EXPECT_EQ(compare_as_person("1.02", "1,2"), 0);
}

TEST(CompareAsPerson, PassesOverALetterBeforeTheNumber) {
    expect_lower("v1.0", "2.0");
    expect_lower("1.0", "v2.0");
}

TEST(CompareAsPerson, RanksWhatComesBeforeAReleaseBelowIt) {
    expect_lower("2.0-beta1", "2.0");
    expect_lower("2.0-RC2", "2.0");
    expect_lower("2.0-alpha", "2.0-beta");
    expect_lower("2.0", "2.0-patch1");
}

TEST(Contenders, AreThoseThatAPersonWouldTake) {
    const Contenders found = contenders("1.0", Names{"1.0", "v2.0", "0.9", "x3"});
    EXPECT_EQ(found.higher, (Names{"v2.0", "x3"}));
    EXPECT_EQ(found.alike, Names{});
}

TEST(Contenders, AreThoseThatTheLauncherCannotTellApart) {
    const Contenders found = contenders("1.2.3.4.5.1", Names{"1.2.3.4.5.1", "1.2.3.4.5.0"});
    EXPECT_EQ(found.alike, Names{"1.2.3.4.5.0"});
    EXPECT_EQ(found.higher, Names{});
}

TEST(Contenders, AreNoNamesWithoutANumber) {
    EXPECT_EQ(contenders("1.0", Names{"old", "CVS"}).higher, Names{});
}

} // namespace

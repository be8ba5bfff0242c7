#include "unzip/pattern.h"

#include "unit_surroundings.h"

namespace {

using Paths = std::vector<std::string>;

// A directory with files of these names, which is the working directory; "name/" is a directory.
class UnzipPattern : public testing::Test {
  protected:
    void make(const Paths& names) const {
        for (const std::string& name : names) {
            std::filesystem::create_directories(std::filesystem::path(name).parent_path() / ".");
            if (!name.ends_with('/'))
                here.write(name, "");
        }
    }

    TemporaryDirectory here;
    WorkingDirectory there{here.path()};
};

TEST_F(UnzipPattern, IsWhatHasOneOfItsThreeCharacters) {
    for (const char* argument : {"*", "a*", "a?b", "[", "a/[b]", "a*/b"})
        EXPECT_TRUE(has_wildcard(argument)) << argument;
    for (const char* argument : {"", "a", "a]", "a/b.zip", "\\", "{a,b}"})
        EXPECT_FALSE(has_wildcard(argument)) << argument;
}

TEST_F(UnzipPattern, MeansWhatFitsInTheOrderOfTheNames) {
    make({"b.jar", "a.jar", "B.jar", "ab.jar", "c.zip", "\xff.jar"});
    EXPECT_EQ(archives_meant("*.jar"), (Paths{"B.jar", "a.jar", "ab.jar", "b.jar", "\xff.jar"}));
    EXPECT_EQ(archives_meant("?.jar"), (Paths{"B.jar", "a.jar", "b.jar", "\xff.jar"}));
    EXPECT_EQ(archives_meant("[a-c].*"), (Paths{"a.jar", "b.jar", "c.zip"}));
    EXPECT_EQ(archives_meant("[!a]*"), (Paths{"B.jar", "b.jar", "c.zip", "\xff.jar"}));
}

TEST_F(UnzipPattern, IsLookedForInTheDirectoryBeforeItsLastSlash) {
    make({"d/e/2.jar", "d/e/1.jar", "d/0.jar", "3.jar"});
    EXPECT_EQ(archives_meant("d/e/*.jar"), (Paths{"d/e/1.jar", "d/e/2.jar"}));
    EXPECT_EQ(archives_meant("./d//*.jar"), (Paths{"./d//0.jar"}));
    EXPECT_EQ(archives_meant(here.path() + "/*.jar"), (Paths{here.file("3.jar")}));
    EXPECT_EQ(archives_meant("*.jar"), (Paths{"3.jar"}));
}

TEST_F(UnzipPattern, DoesNotFitDirectoriesOnTheWay) {
    make({"d/1.jar"});
    EXPECT_EQ(archives_meant("?/1.jar"), Paths{});
    EXPECT_EQ(archives_meant("*/*.jar"), Paths{});
}

TEST_F(UnzipPattern, TakesADirectoryOnTheWayByItsVeryName) {
    make({"d*/1.jar", "dd/2.jar"});
    EXPECT_EQ(archives_meant("d*/*.jar"), (Paths{"d*/1.jar"}));
}

TEST_F(UnzipPattern, DoesNotFitNamesThatBeginWithAPointUnlessItDoesItself) {
    make({".a.jar", "a.jar"});
    EXPECT_EQ(archives_meant("*.jar"), (Paths{"a.jar"}));
    EXPECT_EQ(archives_meant("?a.jar"), Paths{});
    EXPECT_EQ(archives_meant(".*.jar"), (Paths{".a.jar"}));
}

TEST_F(UnzipPattern, TakesABackslashBeforeAWildcardForTheCharacterItself) {
    make({"a*.jar", "ab.jar"});
    EXPECT_EQ(archives_meant("a\\*.jar"), (Paths{"a*.jar"}));
}

TEST_F(UnzipPattern, PassesOverDirectoriesWhereAFileFits) {
    make({"a.jar/", "b.jar", "c.jar/"});
    std::filesystem::create_symlink("a.jar", "d.jar");
    EXPECT_EQ(archives_meant("*.jar"), (Paths{"b.jar"}));
}

TEST_F(UnzipPattern, MeansDirectoriesWhereNothingElseFits) {
    make({"b.jar/", "a.jar/", "x.zip"});
    EXPECT_EQ(archives_meant("*.jar"), (Paths{"a.jar", "b.jar"}));
}

TEST_F(UnzipPattern, MeansLinksThatLeadNowhereToo) {
    make({"b.jar"});
    std::filesystem::create_symlink("nowhere", "a.jar");
    EXPECT_EQ(archives_meant("*.jar"), (Paths{"a.jar", "b.jar"}));
}

TEST_F(UnzipPattern, MeansTheFileOfItsVeryNameWhereItFitsNone) {
    make({"[a].jar", "b?.zip", "c*.ZIP"});
    EXPECT_EQ(archives_meant("[a].jar"), (Paths{"[a].jar"}));
    EXPECT_EQ(archives_meant("b?"), (Paths{"b?.zip"}));
    make({"a.jar"});
    EXPECT_EQ(archives_meant("[a].jar"), (Paths{"a.jar"}));
}

TEST_F(UnzipPattern, WithoutWildcardsMeansTheFirstThatIsThereOfNameAndEndings) {
    make({"c.ZIP"});
    EXPECT_EQ(archives_meant("c"), (Paths{"c.ZIP"}));
    make({"c.zip"});
    EXPECT_EQ(archives_meant("c"), (Paths{"c.zip"}));
    make({"c"});
    EXPECT_EQ(archives_meant("c"), (Paths{"c"}));
    EXPECT_EQ(archives_meant("c.ZIP"), (Paths{"c.ZIP"}));
}

TEST_F(UnzipPattern, WithoutWildcardsMeansADirectoryTooAndNoLinkThatLeadsNowhere) {
    make({"d/", "d.zip", "e.zip"});
    std::filesystem::create_symlink("nowhere", "e");
    EXPECT_EQ(archives_meant("d"), (Paths{"d"}));
    EXPECT_EQ(archives_meant("e"), (Paths{"e.zip"}));
}

TEST_F(UnzipPattern, MeansNothingWhereNothingIsThere) {
    EXPECT_EQ(archives_meant("a"), Paths{});
    EXPECT_EQ(archives_meant("*.jar"), Paths{});
    EXPECT_EQ(archives_meant("no-such/*.jar"), Paths{});
}

} // namespace

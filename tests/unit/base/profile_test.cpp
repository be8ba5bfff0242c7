// The reader of parameter files: its rules, and its tolerance for lines that break them.
#include "base/profile.h"

#include "unit_support.h"

#include <vector>

namespace {

class ParameterFile : public testing::Test {
  protected:
    ~ParameterFile() override {
        if (stream_ != nullptr)
            std::fclose(stream_);
    }
    // The value of KEY `key` in `section` of a file of `bytes`.
    std::string value(const std::string& bytes, const char* section, const char* key) {
        std::string found = "untouched";
        GenericGetPrivateProfileString(section, key, "default", found, 1024,
                                       directory_.write("file.ini", bytes).c_str());
        return found;
    }
    // The value of FOO in a section that holds `lines`.
    std::string foo(const std::string& lines) {
        return value("[S]\n" + lines, "S", "FOO");
    }
    int value_of_two(const std::string& bytes, std::string& found, const char* fallback = "") {
        return GenericGetPrivateProfileStringFromINI("First", "Second", "FOO", fallback, found,
                                                     1024,
                                                     directory_.write("file.ini", bytes).c_str());
    }
    void open(const std::string& bytes) {
        stream_ = std::fopen(directory_.write("file.ini", bytes).c_str(), "r");
        ASSERT_NE(stream_, nullptr);
    }
    int position(const char* section) {
        return GenericGetPrivateProfileVarAndString(section, key_, value_, stream_);
    }
    int next() {
        return GenericGetPrivateProfileVarAndString(nullptr, key_, value_, stream_);
    }
    void expect_entry(const std::string& key, const std::string& text) {
        EXPECT_EQ(next(), 0);
        EXPECT_EQ(key_, key);
        EXPECT_EQ(value_, text);
    }

    TemporaryDirectory directory_;
    std::FILE* stream_ = nullptr;
    std::string key_ = "key before";
    std::string value_ = "value before";
};

// Lookups: what becomes of a file, a section or a key that is not there.

TEST_F(ParameterFile, AFileThatCannotBeOpenedGivesTheDefault) {
    std::string found = "untouched";
    GenericGetPrivateProfileString("S", "FOO", "default", found, 1024,
                                   directory_.file("missing").c_str());
    EXPECT_EQ(found, "default");
}

TEST_F(ParameterFile, ADirectoryInPlaceOfTheFileHasNoSection) {
    std::string found = "untouched";
    GenericGetPrivateProfileString("S", "FOO", "default", found, 1024, directory_.path().c_str());
    EXPECT_EQ(found, "untouched");
}

TEST_F(ParameterFile, AFileWithoutTheSectionLeavesTheValueAsItWas) {
    EXPECT_EQ(value("[Other]\nFOO=bar\n", "S", "FOO"), "untouched");
    EXPECT_EQ(value("FOO=bar\n", "S", "FOO"), "untouched");
    EXPECT_EQ(value("", "S", "FOO"), "untouched");
}

TEST_F(ParameterFile, ASectionWithoutTheKeyGivesTheDefault) {
    EXPECT_EQ(value("[S]\nBAR=1\n", "S", "FOO"), "default");
    EXPECT_EQ(value("[S]\nBAR=1\n[T]\nFOO=bar\n", "S", "FOO"), "default");
    EXPECT_EQ(value("[S]\n", "S", "FOO"), "default");
}

TEST_F(ParameterFile, AKeyOfItsSectionIsFoundWithItsValue) {
    EXPECT_EQ(value("[R]\nFOO=no\n[S]\nBAR=1\nFOO=bar\n[T]\nFOO=no\n", "S", "FOO"), "bar");
}

TEST_F(ParameterFile, WithoutSectionTheSearchStartsAtTheTopAndEndsAtTheFirstHeader) {
    EXPECT_EQ(value("BAR=1\nFOO=bar\n[S]\nBAZ=2\n", nullptr, "FOO"), "bar");
    EXPECT_EQ(value("BAR=1\n[S]\nFOO=bar\n", nullptr, "FOO"), "default");
    EXPECT_EQ(value("[S]\nFOO=bar\n", nullptr, "FOO"), "default");
    EXPECT_EQ(value("", nullptr, "FOO"), "default");
}

TEST_F(ParameterFile, LinesBeforeTheFirstHeaderBelongToNoSection) {
    EXPECT_EQ(value("FOO=outside\n[S]\nFOO=inside\n", "S", "FOO"), "inside");
}

TEST_F(ParameterFile, EveryLookupReadsTheFileAnew) {
    EXPECT_EQ(foo("FOO=first\n"), "first");
    EXPECT_EQ(foo("FOO=second\n"), "second");
}

TEST_F(ParameterFile, TheSizeOfTheValueDoesNotMatter) {
    const std::string path = directory_.write("file.ini", "[S]\nFOO=a longer value\n");
    std::string found;
    GenericGetPrivateProfileString("S", "FOO", "", found, 3, path.c_str());
    EXPECT_EQ(found, "a longer value");
}

TEST_F(ParameterFile, NothingIsShownOrComplainedAbout) {
    const auto look_up = [&] {
        EXPECT_EQ(foo("=x\n"), "default");
        EXPECT_EQ(value("", "S", "FOO"), "untouched");
    };
    EXPECT_EQ(shown_by(look_up), "");
    EXPECT_EQ(complained_by(look_up), "");
}

// Lines.

TEST_F(ParameterFile, EmptyLinesAreSkipped) {
    EXPECT_EQ(value("\n\n[S]\n\n\nBAR=1\n\nFOO=bar\n", "S", "FOO"), "bar");
}

TEST_F(ParameterFile, ABlankLineIsMergedIntoTheLineBehindIt) {
    EXPECT_EQ(foo("  \t \n  FOO=bar\n"), "bar");
    EXPECT_EQ(foo("BAR=1\n \n\t\n \nFOO=bar\n"), "bar");
}

TEST_F(ParameterFile, ABlankLineAtTheEndOfTheSectionIsNoKey) {
    EXPECT_EQ(foo("BAR=1\n   \n"), "default");
    EXPECT_EQ(foo("BAR=1\n   "), "default");
}

TEST_F(ParameterFile, TheLastLineNeedsNoLineFeed) {
    EXPECT_EQ(foo("BAR=1\nFOO=bar"), "bar");
    EXPECT_EQ(value("FOO=bar", nullptr, "FOO"), "bar");
}

TEST_F(ParameterFile, LineEndsWithCarriageReturnReadTheSame) {
    const std::string bytes = "[R]\r\nFOO=no\r\n[S]\r\nBAR=1\r\nFOO=bar\r\n";
    EXPECT_EQ(value(bytes, "R", "FOO"), "no");
    EXPECT_EQ(value(bytes, "R", "BAR"), "default");
    EXPECT_EQ(value(bytes, "S", "FOO"), "bar");
}

TEST_F(ParameterFile, AnEmptyLineThatEndsWithCarriageReturnIndentsTheLineBehindIt) {
    EXPECT_EQ(value("[R]\r\n\r\nFOO=bar\r\n", "R", "FOO"), "bar");
    EXPECT_EQ(value("\r\n[S]\r\nFOO=bar\r\n", "S", "FOO"), "untouched");
}

TEST_F(ParameterFile, ThereAreNoComments) {
    EXPECT_EQ(foo("#FOO=hidden\n;FOO=hidden\nFOO=bar # text\n"), "bar # text");
    EXPECT_EQ(value("[S]\n#FOO=hidden\n", "S", "#FOO"), "hidden");
}

TEST_F(ParameterFile, AByte255EndsTheData) {
    EXPECT_EQ(foo("BAR=1\n\xFF\nFOO=bar\n"), "default");
    EXPECT_EQ(foo("FOO=b\xFF"
                  "ar\n"),
              "b");
    EXPECT_EQ(value("\xFF[S]\nFOO=bar\n", "S", "FOO"), "untouched");
    EXPECT_EQ(value("[S]\xFF\nFOO=bar\n", "S", "FOO"), "default");
}

TEST_F(ParameterFile, BytesAreComparedAsBytes) {
    EXPECT_EQ(value("[\xC3\xA9]\n\xFE=\xE9\n", "\xC3\xA9", "\xFE"), "\xE9");
}

TEST_F(ParameterFile, ANulByteEndsTheTextOfItsLine) {
    EXPECT_EQ(foo(std::string("FOO=b\0ar\nBAR=1\n", 15)), "b");
    EXPECT_EQ(value("[S]\n" + std::string("FOO=b\0ar\nBAR=1\n", 15), "S", "BAR"), "1");
}

TEST_F(ParameterFile, LinesKeysAndValuesHaveNoLengthLimit) {
    const std::string large(100000, 'x');
    EXPECT_EQ(value("[" + large + "]\n" + large + "=" + large + "\n", large.c_str(), large.c_str()),
              large);
}

// Headers.

TEST_F(ParameterFile, AHeaderAtTheVeryEndOfTheFileIsTheSection) {
    EXPECT_EQ(value("[R]\nFOO=no\n[S]", "S", "FOO"), "default");
}

TEST_F(ParameterFile, AHeaderIsComparedWithCase) {
    EXPECT_EQ(value("[s]\nFOO=bar\n", "S", "FOO"), "untouched");
}

TEST_F(ParameterFile, WhiteSpaceBehindAHeaderDoesNotCount) {
    EXPECT_EQ(value("[S] \t\r\nFOO=bar\n", "S", "FOO"), "bar");
}

TEST_F(ParameterFile, ATextBehindTheBracketBelongsToTheHeader) {
    EXPECT_EQ(value("[S] x\nFOO=bar\n", "S", "FOO"), "untouched");
    EXPECT_EQ(value("[R]\nBAR=1\n[S] x\nFOO=bar\n", "R", "FOO"), "default");
}

TEST_F(ParameterFile, BlanksInsideTheBracketsBelongToTheName) {
    EXPECT_EQ(value("[ S ]\nFOO=bar\n", "S", "FOO"), "untouched");
    EXPECT_EQ(value("[ S ]\nFOO=bar\n", " S ", "FOO"), "bar");
}

TEST_F(ParameterFile, AnEmptyNameIsASection) {
    EXPECT_EQ(value("[]\nFOO=bar\n", "", "FOO"), "bar");
}

TEST_F(ParameterFile, ABracketWithoutItsCounterpartIsNoHeader) {
    EXPECT_EQ(value("[S\nFOO=bar\n", "S", "FOO"), "untouched");
    EXPECT_EQ(foo("[T\nFOO=bar\n"), "bar");
    EXPECT_EQ(foo("x[T]=1\nFOO=bar\n"), "bar");
}

TEST_F(ParameterFile, AnIndentedHeaderEndsASectionButIsNeverTheOneLookedFor) {
    EXPECT_EQ(value("[R]\nBAR=1\n  [Sec]\nFOO=bar\n", "R", "FOO"), "default");
    EXPECT_EQ(value("  [Sec]\nFOO=bar\n", "Sec", "FOO"), "untouched");
    EXPECT_EQ(value("\t[Sec]\nFOO=bar\n", "Sec", "FOO"), "untouched");
}

TEST_F(ParameterFile, ABlankLineAboveAHeaderIndentsIt) {
    EXPECT_EQ(value("[R]\nBAR=1\n  \n[Sec]\nFOO=bar\n", "Sec", "FOO"), "untouched");
    EXPECT_EQ(value("[R]\nBAR=1\n  \n[Sec]\nFOO=bar\n", "R", "FOO"), "default");
}

TEST_F(ParameterFile, AShortHeaderIndentedFartherThanItIsLongIsNoHeader) {
    // The closing bracket is looked for as far behind the opening one as that is indented.
    EXPECT_EQ(value("[R]\nBAR=1\n  [T]\nFOO=bar\n", "R", "FOO"), "default");
    EXPECT_EQ(value("[R]\nBAR=1\n   [T]\nFOO=bar\n", "R", "FOO"), "bar");
    EXPECT_EQ(value("[R]\nBAR=1\n   [Tx]\nFOO=bar\n", "R", "FOO"), "default");
}

TEST_F(ParameterFile, TheFirstSectionOfANameIsTheOneThatIsRead) {
    EXPECT_EQ(value("[S]\nBAR=1\n[S]\nFOO=bar\n", "S", "FOO"), "default");
    EXPECT_EQ(value("[S]\nFOO=first\n[S]\nFOO=second\n", "S", "FOO"), "first");
}

// Keys and values.

TEST_F(ParameterFile, BlanksAroundAValueDoNotBelongToIt) {
    EXPECT_EQ(foo("FOO=bar\n"), "bar");
    EXPECT_EQ(foo("FOO= bar \n"), "bar");
    EXPECT_EQ(foo("FOO=\t a b \t\n"), "a b");
}

TEST_F(ParameterFile, BlanksBeforeAKeyDoNotBelongToIt) {
    EXPECT_EQ(foo(" \t FOO=bar\n"), "bar");
}

TEST_F(ParameterFile, ABlankBetweenKeyAndEqualSignSpoilsTheValue) {
    EXPECT_EQ(foo("FOO =bar\n"), "default");
    EXPECT_EQ(foo("FOO = bar\n"), "default");
}

TEST_F(ParameterFile, ABlankInPlaceOfTheEqualSignWorksLikeOne) {
    EXPECT_EQ(foo("FOO bar\n"), "bar");
    EXPECT_EQ(foo("FOO bar=baz\n"), "bar");
}

TEST_F(ParameterFile, AnUnquotedValueStopsAtTheNextEqualSign) {
    EXPECT_EQ(foo("FOO=a=b\n"), "a");
    EXPECT_EQ(foo("FOO==b\n"), "default");
}

TEST_F(ParameterFile, AValueInDoubleQuotesMayHoldEqualSigns) {
    EXPECT_EQ(foo("FOO=\"a=b\"\n"), "a=b");
    EXPECT_EQ(foo("FOO= \"-Da=b -Dc=d\" rest\n"), "-Da=b -Dc=d");
}

TEST_F(ParameterFile, QuotesDoNotKeepBlanksAtTheEnds) {
    EXPECT_EQ(foo("FOO=\" bar \"\n"), "bar");
}

TEST_F(ParameterFile, AQuotedValueOfBlanksStaysAsItIs) {
    EXPECT_EQ(foo("FOO=\"   \"\n"), "   ");
}

TEST_F(ParameterFile, AnEmptyQuotedValueIsAnEmptyValueAndNotTheDefault) {
    EXPECT_EQ(foo("FOO=\"\"\n"), "");
}

TEST_F(ParameterFile, AQuoteInsideAValueIsAnOrdinaryByte) {
    EXPECT_EQ(foo("FOO=a\"b=c\"\n"), "a\"b");
}

TEST_F(ParameterFile, AnUnterminatedQuoteSpoilsTheValue) {
    EXPECT_EQ(foo("FOO=\"bar\n"), "default");
    EXPECT_EQ(foo("FOO=\"\n"), "default");
}

TEST_F(ParameterFile, AnEmptyValueCountsAsMissing) {
    EXPECT_EQ(foo("FOO=\n"), "default");
    EXPECT_EQ(foo("FOO=   \n"), "default");
    EXPECT_EQ(foo("FOO=\r\n"), "default");
    EXPECT_EQ(foo("FOO="), "default");
    EXPECT_EQ(foo("FOO\n"), "default");
}

TEST_F(ParameterFile, AQuotedKeyHasAnUnusableValueBehindAnEqualSign) {
    EXPECT_EQ(foo("\"FOO\"=bar\n"), "default");
    EXPECT_EQ(foo("\"FOO\"bar\n"), "bar");
    EXPECT_EQ(value("[S]\n\"A KEY=\"bar\n", "S", "A KEY="), "bar");
}

TEST_F(ParameterFile, KeysAreComparedWholeAndWithCase) {
    EXPECT_EQ(foo("foo=1\nFOOD=2\nFO=3\nFOO=4\n"), "4");
}

TEST_F(ParameterFile, ALineThatStartsWithAnEqualSignStopsTheSearch) {
    EXPECT_EQ(foo("=x\nFOO=bar\n"), "default");
    EXPECT_EQ(foo("  =x\nFOO=bar\n"), "default");
}

TEST_F(ParameterFile, AnUnterminatedQuoteInAKeyStopsTheSearch) {
    EXPECT_EQ(foo("\"BAR=1\nFOO=bar\n"), "default");
}

TEST_F(ParameterFile, AnUnusableValueOfAnotherKeyDoesNotStopTheSearch) {
    EXPECT_EQ(foo("BAR=\nBAZ =x\nQUX=\"x\nFOO=bar\n"), "bar");
}

TEST_F(ParameterFile, TheFirstEntryOfAKeyDecides) {
    EXPECT_EQ(foo("FOO=first\nFOO=second\n"), "first");
    EXPECT_EQ(foo("FOO=\nFOO=second\n"), "default");
}

// The lookup in two sections.

TEST_F(ParameterFile, TheFirstOfTwoSectionsGivesResultOneWithAValueThatIsNotEmpty) {
    std::string found;
    EXPECT_EQ(value_of_two("[First]\nFOO=1\n[Second]\nFOO=2\n", found), 1);
    EXPECT_EQ(found, "1");
}

TEST_F(ParameterFile, WithAnEmptyDefaultTheSecondSectionIsReadForAKeyMissingInTheFirst) {
    std::string found;
    EXPECT_EQ(value_of_two("[First]\nBAR=1\n[Second]\nFOO=2\n", found), 2);
    EXPECT_EQ(found, "2");
}

TEST_F(ParameterFile, AnEmptyValueInTheFirstSectionLeadsToTheSecond) {
    std::string found = "before";
    EXPECT_EQ(value_of_two("[First]\nFOO=\n[Second]\nFOO=2\n", found), 2);
    EXPECT_EQ(found, "2");
    EXPECT_EQ(value_of_two("[First]\nFOO=\"\"\n[Second]\nFOO=3\n", found), 2);
    EXPECT_EQ(found, "3");
}

TEST_F(ParameterFile, WithoutTheFirstSectionAnEmptyValueLeadsToTheSecond) {
    std::string found;
    EXPECT_EQ(value_of_two("[Second]\nFOO=2\n", found), 2);
    EXPECT_EQ(found, "2");
}

TEST_F(ParameterFile, WithoutTheFirstSectionTheValueFromBeforeCountsAsItsOwn) {
    std::string found = "before";
    EXPECT_EQ(value_of_two("[Second]\nFOO=2\n", found), 1);
    EXPECT_EQ(found, "before");
}

TEST_F(ParameterFile, ADefaultThatIsNotEmptyCountsAsAValueOfTheFirstSection) {
    std::string found;
    EXPECT_EQ(value_of_two("[First]\nBAR=1\n[Second]\nFOO=2\n", found, "default"), 1);
    EXPECT_EQ(found, "default");
}

TEST_F(ParameterFile, TheResultIsTwoAlsoWhenNeitherSectionHasTheKey) {
    std::string found = "";
    EXPECT_EQ(value_of_two("[First]\nBAR=1\n[Second]\nBAR=2\n", found), 2);
    EXPECT_EQ(found, "");
    EXPECT_EQ(value_of_two("", found), 2);
    EXPECT_EQ(found, "");
}

// The iteration.

TEST_F(ParameterFile, TheIteratorReturnsTheEntriesOfASectionUpToTheNextHeader) {
    open("[R]\nX=0\n[S]\nA=1\nB=\nC\n[T]\nD=4\n");
    EXPECT_EQ(position("S"), 0);
    expect_entry("A", "1");
    expect_entry("B", "");
    expect_entry("C", "");
    EXPECT_EQ(next(), -1);
}

TEST_F(ParameterFile, TheIteratorReturnsTheEntriesOfASectionUpToTheEndOfTheFile) {
    open("[S]\nA=1\nB=\nC\n");
    EXPECT_EQ(position("S"), 0);
    expect_entry("A", "1");
    expect_entry("B", "");
    expect_entry("C", "");
    EXPECT_EQ(next(), -1);
    EXPECT_EQ(next(), -1);
}

TEST_F(ParameterFile, TheIteratorReturnsALastEntryWithoutLineFeed) {
    open("[S]\nA=1\nB=2");
    EXPECT_EQ(position("S"), 0);
    expect_entry("A", "1");
    expect_entry("B", "2");
    EXPECT_EQ(next(), -1);
}

TEST_F(ParameterFile, PositioningTouchesNeitherKeyNorValue) {
    open("[S]\nA=1\n");
    EXPECT_EQ(position("S"), 0);
    EXPECT_EQ(position("Missing"), -1);
    EXPECT_EQ(key_, "key before");
    EXPECT_EQ(value_, "value before");
}

TEST_F(ParameterFile, PositioningGoesOnFromWhereTheStreamStands) {
    open("[S]\nA=1\n[T]\nB=2\n[S]\nC=3\n");
    EXPECT_EQ(position("T"), 0);
    EXPECT_EQ(position("S"), 0);
    expect_entry("C", "3");
    EXPECT_EQ(position("S"), -1);
}

TEST_F(ParameterFile, PositioningFindsAHeaderAtTheVeryEnd) {
    open("[R]\nA=1\n[S]");
    EXPECT_EQ(position("S"), 0);
    EXPECT_EQ(next(), -1);
}

TEST_F(ParameterFile, PositioningPassesAnIndentedHeader) {
    open(" [S]\nA=1\n[S]\nB=2\n");
    EXPECT_EQ(position("S"), 0);
    expect_entry("B", "2");
}

TEST_F(ParameterFile, TheHeaderThatEndsAnIterationHasBeenTakenFromTheStream) {
    open("[S]\nA=1\n[T]\nB=2\n");
    EXPECT_EQ(position("S"), 0);
    expect_entry("A", "1");
    EXPECT_EQ(next(), -1);
    expect_entry("B", "2");
}

TEST_F(ParameterFile, WithoutPositioningTheIterationStartsAtTheTop) {
    open("A=1\nB=2\n[S]\nC=3\n");
    expect_entry("A", "1");
    expect_entry("B", "2");
    EXPECT_EQ(next(), -1);
}

TEST_F(ParameterFile, AMalformedKeyEndsTheIteration) {
    open("[S]\nA=1\n=x\nB=2\n");
    EXPECT_EQ(position("S"), 0);
    expect_entry("A", "1");
    EXPECT_EQ(next(), -1);
}

TEST_F(ParameterFile, AMalformedValueIsEmptyForTheIterator) {
    open("[S]\nA =1\nB=\"x\nC==\nD=\" x=y \"\nE=\t\n");
    EXPECT_EQ(position("S"), 0);
    expect_entry("A", "");
    expect_entry("B", "");
    expect_entry("C", "");
    expect_entry("D", "x=y");
    expect_entry("E", "");
    EXPECT_EQ(next(), -1);
}

TEST_F(ParameterFile, TheIteratorSkipsEmptyLines) {
    open("[S]\n\nA=1\n\n  \nB=2\n\n");
    EXPECT_EQ(position("S"), 0);
    expect_entry("A", "1");
    expect_entry("B", "2");
    EXPECT_EQ(next(), -1);
}

TEST_F(ParameterFile, BlankLinesAboveALineOfTheIterationIndentIt) {
    open(" \n\t\nA=1\n[S]\n  \nB=2\n \n[T]\n \n\n[S]\nC=3\n[S]\nD=4\n");
    EXPECT_EQ(position("S"), 0);
    expect_entry("B", "2");
    EXPECT_EQ(next(), -1); // an indented header is still one
    EXPECT_EQ(position("S"), 0);
    expect_entry("D", "4"); // but not the wanted one
}

TEST_F(ParameterFile, ALineOfTheIterationEndsAtANul) {
    using namespace std::string_literals;
    open("[S]\0x\nA=1\0 more\nB\0=2\n"s);
    EXPECT_EQ(position("S"), 0);
    expect_entry("A", "1");
    expect_entry("B", "");
}

TEST_F(ParameterFile, NothingBehindAByte255IsEverReadByTheIteration) {
    open("[S]\nA=1\nB=2\xFF"
         "B=3\nC=4\n");
    EXPECT_EQ(position("S"), 0);
    expect_entry("A", "1");
    expect_entry("B", "2");
    for (int again = 0; again < 3; ++again)
        EXPECT_EQ(next(), -1);
    EXPECT_EQ(position("S"), -1);
}

TEST_F(ParameterFile, AByte255EndsTheIteration) {
    open("[S]\nA=1\n\xFF"
         "B=2\n");
    EXPECT_EQ(position("S"), 0);
    expect_entry("A", "1");
    EXPECT_EQ(next(), -1);
    EXPECT_EQ(next(), -1);
    EXPECT_EQ(position("S"), -1);
}

// The tokenizer.

TEST(Tokenizer, TakesAKeyAndThenItsValueFromTheSameLine) {
    std::string token;
    EXPECT_EQ(GetToken("KEY=a value ", token, false), 0);
    EXPECT_EQ(token, "KEY");
    EXPECT_EQ(GetToken(nullptr, token, true), 0);
    EXPECT_EQ(token, "a value");
    EXPECT_EQ(GetToken(nullptr, token, true), -1);
}

TEST(Tokenizer, AMissingTokenLeavesTheOneBeforeAlone) {
    for (const char* line : {"", " ", " \t\r"}) {
        std::string token = "before";
        EXPECT_EQ(GetToken(line, token, false), -1) << line;
        EXPECT_EQ(GetToken(line, token, true), -1) << line;
        EXPECT_EQ(token, "before");
    }
}

TEST(Tokenizer, AMalformedTokenLeavesTheOneBeforeAlone) {
    for (const char* line : {"=", "=x", "  =x", "\"", "\"x", "  \"x=y"}) {
        std::string token = "before";
        EXPECT_EQ(GetToken(line, token, false), -1) << line;
        EXPECT_EQ(GetToken(line, token, true), -1) << line;
        EXPECT_EQ(token, "before");
    }
}

TEST(Tokenizer, AfterAnUnterminatedQuoteTheRestOfTheLineIsConsumed) {
    std::string token = "before";
    EXPECT_EQ(GetToken("\"KEY=value", token, false), -1);
    EXPECT_EQ(GetToken(nullptr, token, true), -1);
    EXPECT_EQ(token, "before");
}

TEST(Tokenizer, AKeyEndsAtWhiteSpaceAndAValueDoesNot) {
    std::string token;
    EXPECT_EQ(GetToken("one two\tthree=four", token, false), 0);
    EXPECT_EQ(token, "one");
    EXPECT_EQ(GetToken(nullptr, token, false), 0);
    EXPECT_EQ(token, "two");
    EXPECT_EQ(GetToken("one two\tthree=four", token, true), 0);
    EXPECT_EQ(token, "one two\tthree");
    EXPECT_EQ(GetToken(nullptr, token, true), 0);
    EXPECT_EQ(token, "four");
}

TEST(Tokenizer, ExactlyOneCharacterIsSteppedOverAfterAToken) {
    std::string token;
    EXPECT_EQ(GetToken("KEY==value", token, false), 0);
    EXPECT_EQ(GetToken(nullptr, token, true), -1);
    EXPECT_EQ(GetToken("KEY =value", token, false), 0);
    EXPECT_EQ(GetToken(nullptr, token, true), -1);
    EXPECT_EQ(GetToken("\"a\"\"b\"", token, true), 0);
    EXPECT_EQ(token, "a");
    EXPECT_EQ(GetToken(nullptr, token, true), 0);
    EXPECT_EQ(token, "b");
}

TEST(Tokenizer, AQuotedTokenIsEverythingUpToTheNextQuote) {
    std::string token;
    EXPECT_EQ(GetToken(" \"a = b\tc\"=d", token, false), 0);
    EXPECT_EQ(token, "a = b\tc");
}

TEST(Tokenizer, AQuotedTokenMayBeEmpty) {
    std::string token = "before";
    EXPECT_EQ(GetToken("\"\"x", token, false), 0);
    EXPECT_EQ(token, "");
    EXPECT_EQ(GetToken(nullptr, token, false), 0);
    EXPECT_EQ(token, "x");
}

TEST(Tokenizer, AQuotedTokenIsTrimmedUnlessItIsAllBlank) {
    std::string token;
    EXPECT_EQ(GetToken("\" a b \"", token, true), 0);
    EXPECT_EQ(token, "a b");
    EXPECT_EQ(GetToken("\" \t \"", token, true), 0);
    EXPECT_EQ(token, " \t ");
}

TEST(Trimming, ATokenLosesWhiteSpaceAtBothEnds) {
    std::string token = " \t\v\f\r\na b\tc \n";
    TrimToken(token);
    EXPECT_EQ(token, "a b\tc");
}

TEST(Trimming, ATokenWithoutWhiteSpaceAtItsEndsStaysAsItIs) {
    std::string token = "a b";
    TrimToken(token);
    EXPECT_EQ(token, "a b");
}

TEST(Trimming, ATokenOfWhiteSpaceOnlyStaysAsItIs) {
    for (const char* text : {"", " ", " \t\n"}) {
        std::string token = text;
        TrimToken(token);
        EXPECT_EQ(token, text);
    }
}

} // namespace

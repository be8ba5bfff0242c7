#include "base/paths.h"

#include "unit_surroundings.h"

namespace {

std::string concatenated(std::string path, const std::string& name) {
    ConcatPath(path, name);
    return path;
}

std::string full_name(std::string directory, const std::string& file) {
    GetFullFileName(&directory, file);
    return directory;
}

std::string normalized(std::string path) {
    NormalizeDir(path);
    return path;
}

std::string trimmed_string(std::string text) {
    TrimString(&text);
    return text;
}

std::string unquoted(std::string text) {
    StripQuotes(text);
    return text;
}

std::string value_to_next_option(const char* name, const char* line) {
    std::string value = "before";
    GetCommandLineArgValue(name, line, value);
    return value;
}

std::string value_to_next_blank(const char* name, const char* line) {
    std::string value = "before";
    GetCommandLineArgValueSpaceDelim(name, line, value);
    return value;
}

// What the shell makes of `word` as the argument of a command.
std::string read_by_shell(const std::string& word) {
    std::FILE* shell = popen(("printf %s " + word).c_str(), "r");
    std::string read;
    for (int byte = std::getc(shell); byte != EOF; byte = std::getc(shell))
        read += static_cast<char>(byte);
    EXPECT_EQ(pclose(shell), 0) << word;
    return read;
}

} // namespace

TEST(ConcatPath, PutsASlashBetweenAPathWithoutOneAndTheName) {
    EXPECT_EQ(concatenated("/a", "b"), "/a/b");
}

TEST(ConcatPath, AddsNoSecondSlashToAPathThatEndsWithOne) {
    EXPECT_EQ(concatenated("/a/", "b"), "/a/b");
    EXPECT_EQ(concatenated("/", "b"), "/b");
}

TEST(ConcatPath, TreatsAnEmptyPathAsNotEndingInASlash) {
    EXPECT_EQ(concatenated("", "b"), "/b");
}

TEST(ConcatPath, AppendsTheNameAsItStands) {
    EXPECT_EQ(concatenated("/a", "/b/"), "/a//b/");
    EXPECT_EQ(concatenated("/a", ""), "/a/");
}

TEST(ConcatPath, CutsNoPathWhateverItsLength) {
    const std::string path = "/" + std::string(5000, 'p');
    const std::string name(5000, 'n');
    EXPECT_EQ(concatenated(path, name), path + "/" + name);
}

TEST(JoinedPath, GivesWhatConcatPathMakesOfACopy) {
    EXPECT_EQ(joined_path("/a", "b"), "/a/b");
    EXPECT_EQ(joined_path("", "b"), "/b");
}

TEST(GetFullFileName, WithAnEmptyDirectoryGivesTheFileNameAlone) {
    EXPECT_EQ(full_name("", "x.ini"), "x.ini");
}

TEST(GetFullFileName, WithoutADirectoryDoesNothing) {
    GetFullFileName(nullptr, "file");
}

TEST(GetFullFileName, AppendsTheNameToADirectoryThatEndsWithASlash) {
    EXPECT_EQ(full_name("/a/", "x.ini"), "/a/x.ini");
}

TEST(GetFullFileName, PutsASlashBehindAnyOtherDirectory) {
    EXPECT_EQ(full_name("/a", "x.ini"), "/a/x.ini");
}

TEST(GetFullFileName, ComesBackFromACallWithoutADirectoryBuffer) {
    EXPECT_EXIT(
        {
            GetFullFileName(nullptr, "x.ini");
            std::_Exit(7);
        },
        testing::ExitedWithCode(7), "");
}

TEST(NormalizeDir, RemovesOneTrailingSlashOnly) {
    EXPECT_EQ(normalized("/a/"), "/a");
    EXPECT_EQ(normalized("/a//"), "/a/");
}

TEST(NormalizeDir, MakesASlashAloneEmpty) {
    EXPECT_EQ(normalized("/"), "");
}

TEST(NormalizeDir, LeavesATextWithoutTrailingSlashAlone) {
    EXPECT_EQ(normalized("/a"), "/a");
    EXPECT_EQ(normalized(""), "");
}

TEST(CutAtLastSlash, GivesEverythingBeforeTheLastSlash) {
    EXPECT_EQ(cut_at_last_slash("/a/b/c"), "/a/b");
    EXPECT_EQ(cut_at_last_slash("/a/"), "/a");
    EXPECT_EQ(cut_at_last_slash("/a"), "");
}

TEST(CutAtLastSlash, GivesTheWholeTextWithoutASlash) {
    EXPECT_EQ(cut_at_last_slash("a"), "a");
}

TEST(StringLn, CountsTheCharacters) {
    EXPECT_EQ(StringLn(""), 0);
    EXPECT_EQ(StringLn("abc"), 3);
}

TEST(PathExists, HoldsForAFileADirectoryAndADevice) {
    const TemporaryDirectory here;
    EXPECT_TRUE(PathExists(here.path()));
    EXPECT_TRUE(PathExists(here.write("file", "")));
    EXPECT_TRUE(PathExists("/dev/null"));
}

TEST(PathExists, DoesNotHoldForAMissingPathAnEmptyOneAndNone) {
    const TemporaryDirectory here;
    EXPECT_FALSE(PathExists(here.file("missing")));
    EXPECT_FALSE(PathExists(""));
    EXPECT_FALSE(PathExists(nullptr));
}

TEST(PathWritable, DoesNotHoldForNoPathAndAnEmptyOne) {
    EXPECT_FALSE(PathWritable(nullptr));
    EXPECT_FALSE(PathWritable(""));
}

TEST(PathWritable, HoldsForADirectoryThatAllowsEverything) {
    const TemporaryDirectory here;
    EXPECT_TRUE(PathWritable(here.path()));
}

TEST(PathWritable, CreatesNothingForAPathThatIsTooLongAsAWhole) {
    const TemporaryDirectory here;
    std::string path = here.file("first");
    for (int depth = 0; depth < 50000; ++depth)
        path += "/x";
    EXPECT_FALSE(PathWritable(path));
    EXPECT_FALSE(std::filesystem::exists(here.file("first")));
}

TEST(PathWritable, CreatesTheWholeChainOfMissingDirectories) {
    const TemporaryDirectory here;
    EXPECT_TRUE(PathWritable(here.file("b/c/d")));
    EXPECT_TRUE(std::filesystem::is_directory(here.file("b")));
    EXPECT_TRUE(std::filesystem::is_directory(here.file("b/c")));
    EXPECT_TRUE(std::filesystem::is_directory(here.file("b/c/d")));
}

TEST(PathWritable, CreatesOneTwoAndManyMissingDirectories) {
    const TemporaryDirectory here;
    EXPECT_TRUE(PathWritable(here.file("one")));
    EXPECT_TRUE(PathWritable(here.file("two/2")));
    EXPECT_TRUE(PathWritable(here.file("many/2/3/4/5/6/7")));
    EXPECT_TRUE(std::filesystem::is_directory(here.file("one")));
    EXPECT_TRUE(std::filesystem::is_directory(here.file("two/2")));
    EXPECT_TRUE(std::filesystem::is_directory(here.file("many/2/3/4/5/6/7")));
}

TEST(PathWritable, CreatesWithMode0777LessTheMask) {
    const TemporaryDirectory here;
    {
        const Mask mask(0);
        EXPECT_TRUE(PathWritable(here.file("open/a/b")));
    }
    {
        const Mask mask(027);
        EXPECT_TRUE(PathWritable(here.file("masked/a/b")));
    }
    for (const char* directory : {"open", "open/a", "open/a/b"})
        EXPECT_EQ(mode_of(here.file(directory)), 0777U) << directory;
    for (const char* directory : {"masked", "masked/a", "masked/a/b"})
        EXPECT_EQ(mode_of(here.file(directory)), 0750U) << directory;
}

TEST(PathWritable, CreatesNothingUnderAFile) {
    const TemporaryDirectory here;
    here.write("file", "kept");
    EXPECT_FALSE(PathWritable(here.file("file/a")));
    EXPECT_FALSE(PathWritable(here.file("file/a/b/c")));
    EXPECT_EQ(bytes_of(here.file("file")), "kept");
}

TEST(PathWritable, CreatesARelativeDirectoryInTheWorkingDirectory) {
    const TemporaryDirectory here;
    const WorkingDirectory inside(here.path());
    EXPECT_TRUE(PathWritable("single"));
    EXPECT_TRUE(PathWritable("a/b/c"));
    EXPECT_TRUE(std::filesystem::is_directory(here.file("single")));
    EXPECT_TRUE(std::filesystem::is_directory(here.file("a/b/c")));
}

TEST(PathWritable, NeedsReadingWritingAndSearchingByThisUser) {
    as_ordinary_user([] {
        const TemporaryDirectory here;
        const std::string directory = here.file("d");
        std::filesystem::create_directory(directory);
        for (const mode_t mode : {0300U, 0500U, 0600U, 0077U}) {
            EXPECT_EQ(chmod(directory.c_str(), mode), 0);
            EXPECT_FALSE(PathWritable(directory)) << mode;
        }
        EXPECT_EQ(chmod(directory.c_str(), 0700), 0);
        EXPECT_TRUE(PathWritable(directory));
    });
}

TEST(PathWritable, GivesUpWhereAParentCannotBeCreated) {
    as_ordinary_user([] {
        const TemporaryDirectory here;
        const std::string closed = here.file("closed");
        std::filesystem::create_directory(closed);
        EXPECT_EQ(chmod(closed.c_str(), 0500), 0);
        EXPECT_FALSE(PathWritable(closed + "/a"));
        EXPECT_FALSE(PathWritable(closed + "/a/b"));
        EXPECT_FALSE(PathWritable(closed + "/a/b/c/d"));
        EXPECT_TRUE(std::filesystem::is_empty(closed));
        EXPECT_EQ(chmod(closed.c_str(), 0700), 0);
    });
}

TEST(PathWritable, CreatesNothingBelowADirectoryThatIsNotWhollyOpenToThisUser) {
    as_ordinary_user([] {
        const TemporaryDirectory here;
        const std::string unreadable = here.file("unreadable");
        std::filesystem::create_directory(unreadable);
        // Directories could be made in it, but what lies above them already decides.
        EXPECT_EQ(chmod(unreadable.c_str(), 0300), 0);
        EXPECT_FALSE(PathWritable(unreadable + "/a/b"));
        EXPECT_FALSE(PathExists(unreadable + "/a"));
        EXPECT_FALSE(PathWritable(unreadable + "/a/b/c/d"));
        EXPECT_FALSE(PathExists(unreadable + "/a"));
        EXPECT_EQ(chmod(unreadable.c_str(), 0700), 0);
    });
}

TEST(PathWritable, AsksForAPathBelowAnOpenParentOnlyAboutThePathItself) {
    as_ordinary_user([] {
        const TemporaryDirectory here;
        const std::string unreadable = here.file("unreadable");
        std::filesystem::create_directory(unreadable);
        EXPECT_EQ(chmod(unreadable.c_str(), 0300), 0);
        EXPECT_TRUE(PathWritable(unreadable + "/a"));
        EXPECT_EQ(chmod(unreadable.c_str(), 0700), 0);
    });
}

TEST(PathWritable, LetsTheMaskDecideAboutWhatItCreatedItself) {
    as_ordinary_user([] {
        const TemporaryDirectory here;
        const Mask mask(0200);
        EXPECT_FALSE(PathWritable(here.file("a/b")));
        EXPECT_EQ(mode_of(here.file("a")), 0577U);
        EXPECT_FALSE(PathExists(here.file("a/b")));
    });
}

TEST(AllowsAllAccess, CreatesNothing) {
    const TemporaryDirectory here;
    EXPECT_TRUE(allows_all_access(here.path()));
    EXPECT_FALSE(allows_all_access(here.file("missing")));
    EXPECT_FALSE(PathExists(here.file("missing")));
}

TEST(CheckForInvalidCharactersInPath, RefusesEachOfTheSevenCharacters) {
    for (const char c : std::string("\"*:<>?|"))
        EXPECT_FALSE(CheckForInvalidCharactersInPath(std::string("/a") + c + "b")) << c;
}

TEST(CheckForInvalidCharactersInPath, AcceptsRelativePathsAndSemicolons) {
    EXPECT_TRUE(CheckForInvalidCharactersInPath("relative/path"));
    EXPECT_TRUE(CheckForInvalidCharactersInPath("/a;b"));
    EXPECT_TRUE(CheckForInvalidCharactersInPath("/a\\b c"));
}

TEST(CheckForInvalidCharactersInPath, AcceptsAnEmptyPath) {
    EXPECT_TRUE(CheckForInvalidCharactersInPath(""));
}

TEST(ValidatePath, RefusesRelativePathsAndAnEmptyOne) {
    EXPECT_FALSE(validatePath("relative/path"));
    EXPECT_FALSE(validatePath("./a"));
    EXPECT_FALSE(validatePath(""));
}

TEST(ValidatePath, RefusesEachOfTheEightCharacters) {
    for (const char c : std::string("\\*?<>:|;"))
        EXPECT_FALSE(validatePath(std::string("/a") + c + "b")) << c;
}

TEST(ValidatePath, AcceptsAnyOtherAbsolutePath) {
    EXPECT_TRUE(validatePath("/"));
    EXPECT_TRUE(validatePath("/a/b c\"d'"));
}

TEST(TrimString, RemovesWhiteSpaceAtBothEnds) {
    EXPECT_EQ(trimmed_string(" \t\n\v\f\ra b\t c \t\n\v\f\r"), "a b\t c");
}

TEST(TrimString, MakesATextOfWhiteSpaceEmpty) {
    EXPECT_EQ(trimmed_string(" \t\n\v\f\r"), "");
    EXPECT_EQ(trimmed_string(""), "");
}

TEST(TrimString, KeepsBytesOutsideAscii) {
    EXPECT_EQ(trimmed_string(" \xa0\x85x\xa0 "), "\xa0\x85x\xa0");
}

TEST(TrimString, ComesBackFromACallWithoutAText) {
    EXPECT_EXIT(
        {
            TrimString(nullptr);
            std::_Exit(7);
        },
        testing::ExitedWithCode(7), "");
}

TEST(StripQuotes, RemovesTheQuotesAroundAText) {
    EXPECT_EQ(unquoted("\"a b\""), "a b");
}

TEST(StripQuotes, RemovesAClosingQuoteWithoutAnOpeningOne) {
    EXPECT_EQ(unquoted("a b\""), "a b");
}

TEST(StripQuotes, LeavesATextAloneThatDoesNotEndWithAQuote) {
    EXPECT_EQ(unquoted("\"a b"), "\"a b");
    EXPECT_EQ(unquoted("\"a\" "), "\"a\" ");
    EXPECT_EQ(unquoted(""), "");
}

TEST(StripQuotes, MakesOneQuoteAloneEmpty) {
    EXPECT_EQ(unquoted("\""), "");
    EXPECT_EQ(unquoted("\"\""), "");
}

TEST(StripQuotes, RemovesOnlyOnePairOfQuotes) {
    EXPECT_EQ(unquoted("\"\"a\"\""), "\"a\"");
}

TEST(ReplaceStr, ReplacesOnlyTheFirstOccurrence) {
    EXPECT_STREQ(replaceStr("a-b-c", "-", "++"), "a++b-c");
    EXPECT_STREQ(replaceStr("a-b", "a-b", ""), "");
}

TEST(ReplaceStr, GivesTheTextItselfWhenTheOriginalDoesNotOccur) {
    const char* text = "abc";
    EXPECT_EQ(replaceStr(text, "x", "y"), text);
}

TEST(ReplaceStr, GivesTheTextItselfWhenAnyOfTheThreeIsMissing) {
    const char* text = "abc";
    EXPECT_EQ(replaceStr(nullptr, "a", "b"), nullptr);
    EXPECT_EQ(replaceStr(text, nullptr, "b"), text);
    EXPECT_EQ(replaceStr(text, "a", nullptr), text);
}

TEST(ReplaceStr, ItsResultIsOverwrittenByTheNextCall) {
    const char* first = replaceStr("one", "o", "O");
    EXPECT_STREQ(first, "One");
    const char* second = replaceStr("two", "t", "T");
    EXPECT_EQ(first, second);
    EXPECT_STREQ(first, "Two");
}

TEST(ReplaceStr, ItsResultStaysReadableWhenTheNextOneIsLonger) {
    std::string longer(100, 'x');
    for (int round = 0; round < 4; ++round) {
        const char* first = replaceStr("-one", "-", "");
        longer += longer + longer + longer + longer; // 500 bytes, then more than a page
        const char* second = replaceStr(("-" + longer).c_str(), "-", "");
        EXPECT_EQ(second, longer);
        EXPECT_TRUE(std::string(first) == "one" || first == second) << round;
    }
}

TEST(ReplaceStr, TakesItsOwnResultAsInput) {
    EXPECT_STREQ(replaceStr(replaceStr("a-b-c", "-", "+"), "-", "+"), "a+b+c");
}

TEST(ReplaceStr, CutsNoTextWhateverItsLength) {
    const std::string text(5000, 'x');
    EXPECT_EQ(replaceStr(("-" + text).c_str(), "-", text.c_str()), text + text);
}

TEST(ReplaceStrOfJavaOptions, TurnsEveryMarkerIntoAHyphen) {
    EXPECT_EQ(replace_str("a-J-b-J-c"), "a-b-c");
    EXPECT_EQ(replace_str("-J-Xmx512m"), "-Xmx512m");
    EXPECT_EQ(replace_str("-J--J-"), "--");
}

TEST(ReplaceStrOfJavaOptions, LooksForNoMarkerInWhatItHasReplaced) {
    EXPECT_EQ(replace_str("a-J-J-b"), "a-J-b");
}

TEST(ReplaceStrOfJavaOptions, GivesTheTextItselfWithoutAMarker) {
    EXPECT_EQ(replace_str("-Jx-j-"), "-Jx-j-");
    EXPECT_EQ(replace_str(""), "");
}

TEST(ReplaceStrOfJavaOptions, GivesNothingForNothing) {
    EXPECT_EQ(replace_str(nullptr), std::nullopt);
}

TEST(GetCommandLineArgValue, StopsAtTheNextOption) {
    EXPECT_EQ(value_to_next_option("-timestamp", "run -timestamp 2024 1 a-b -silent x"),
              "2024 1 a-b");
}

TEST(GetCommandLineArgValue, RunsToTheEndWithoutAnotherOption) {
    EXPECT_EQ(value_to_next_option("-timestamp", "run -timestamp 2024 1 "), "2024 1");
}

TEST(GetCommandLineArgValue, RemovesWhiteSpaceAtBothEnds) {
    EXPECT_EQ(value_to_next_option("-timestamp", "run -timestamp \t 2024 \t -x"), "2024");
}

TEST(GetCommandLineArgValue, KeepsTheValueWithoutALineOrTheName) {
    EXPECT_EQ(value_to_next_option("-timestamp", nullptr), "before");
    EXPECT_EQ(value_to_next_option("-timestamp", ""), "before");
    EXPECT_EQ(value_to_next_option("-timestamp", "run -silent"), "before");
}

TEST(GetCommandLineArgValue, FindsTheNameInsideALongerWord) {
    EXPECT_EQ(value_to_next_option("-timestamp", "run -timestamps 2024 -x"), "s 2024");
    EXPECT_EQ(value_to_next_option("-timestamp", "run x-timestamp=2024 -x"), "=2024");
}

TEST(GetCommandLineArgValue, TakesTheFirstOccurrenceOfTheName) {
    EXPECT_EQ(value_to_next_option("-t", "run -t 1 -t 2 "), "1");
}

TEST(GetCommandLineArgValue, LooksForTheEndFromTheSecondCharacterBehindTheName) {
    EXPECT_EQ(value_to_next_option("-t", "run -t -silent -x"), "-silent");
}

TEST(GetCommandLineArgValue, GivesAnEmptyValueForANameAtTheEnd) {
    EXPECT_EQ(value_to_next_option("-t", "run -t"), "");
    EXPECT_EQ(value_to_next_option("-t", "run -t "), "");
}

TEST(GetCommandLineArgValue, CutsNoValueWhateverItsLength) {
    const std::string value(9000, 'v');
    EXPECT_EQ(value_to_next_option("-t", ("run -t " + value + " -x").c_str()), value);
}

TEST(GetCommandLineArgValueSpaceDelim, StopsAtTheNextBlank) {
    EXPECT_EQ(value_to_next_blank("-paramFile", "-paramFile /stage/x.ini -silent"), "/stage/x.ini");
    EXPECT_EQ(value_to_next_blank("-paramFile", "-paramFile /stage/x.ini y"), "/stage/x.ini");
}

TEST(GetCommandLineArgValueSpaceDelim, RunsToTheEndWithoutAnotherBlank) {
    EXPECT_EQ(value_to_next_blank("-paramFile", "run -paramFile /x.ini"), "/x.ini");
}

TEST(GetCommandLineArgValueSpaceDelim, LooksForTheEndFromTheSecondCharacterBehindTheName) {
    EXPECT_EQ(value_to_next_blank("-p", "run -px y"), "x");
    EXPECT_EQ(value_to_next_blank("-p", "run -p  /x.ini y"), "");
}

TEST(GetCommandLineArgValueSpaceDelim, KeepsTheValueWithoutALineOrTheName) {
    EXPECT_EQ(value_to_next_blank("-paramFile", nullptr), "before");
    EXPECT_EQ(value_to_next_blank("-paramFile", ""), "before");
    EXPECT_EQ(value_to_next_blank("-paramFile", "run -paramfile x"), "before");
}

TEST(GetFullPathName, DoesNothingAndReturnsZero) {
    char buffer[] = "kept";
    char* part = buffer;
    EXPECT_EQ(GetFullPathName("name", 5, buffer, &part), 0);
    EXPECT_STREQ(buffer, "kept");
    EXPECT_EQ(part, buffer);
}

TEST(ShellWord, LeavesATextAloneThatHoldsNothingSpecial) {
    for (const char* plain : {"/mnt/stage-1.0/a_b", "relative/dir", "a,b:c@d%e+f!]", "/caf\xc3\xa9",
                              "a#b~c", "/a=b", "./a=b"})
        EXPECT_EQ(shell_word(plain), plain);
}

TEST(ShellWord, PutsATextWithAnySpecialCharacterInSingleQuotes) {
    for (const char c : std::string(" \t\n\x7f|&;<>()$`\\\"*?[{}^"))
        EXPECT_EQ(shell_word(std::string("/a") + c + "b"), std::string("'/a") + c + "b'") << c;
}

TEST(ShellWord, QuotesANumberSignAndATildeAtTheStartOnly) {
    EXPECT_EQ(shell_word("#a"), "'#a'");
    EXPECT_EQ(shell_word("~/a"), "'~/a'");
}

TEST(ShellWord, QuotesAnEqualsSignUnlessThePathCannotBeAnAssignment) {
    EXPECT_EQ(shell_word("a=b"), "'a=b'");
    EXPECT_EQ(shell_word("a=b/unzip"), "'a=b/unzip'");
}

TEST(ShellWord, TakesASingleQuoteOutOfTheQuotes) {
    EXPECT_EQ(shell_word("it's"), "'it'\\''s'");
}

TEST(ShellWord, IsNothingForAnEmptyText) {
    EXPECT_EQ(shell_word(""), "");
}

TEST(ShellWord, IsReadByTheShellAsTheTextItself) {
    std::string every_byte;
    for (int byte = 1; byte < 256; ++byte)
        every_byte += static_cast<char>(byte);
    for (const std::string& text :
         {every_byte, std::string("'"), std::string("''a''"), std::string("$HOME `id` $(id)"),
          std::string("~"), std::string("*"), std::string("#x"), std::string("a=b"),
          std::string("a,b:c@d%e+f!]#~")})
        EXPECT_EQ(read_by_shell(shell_word(text)), text);
}

#include "unzip/command_line.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

using Words = std::vector<std::string>;

constexpr const char* kNoDirectory = "the option -d needs the directory to unpack into";

std::string name_of(UnzipTask task) {
    switch (task) {
    case UnzipTask::kUnpack:
        return "unpack";
    case UnzipTask::kTest:
        return "test";
    case UnzipTask::kList:
        return "list";
    case UnzipTask::kHelp:
        return "help";
    case UnzipTask::kVersion:
        return "version";
    }
    return "";
}

// What the words mean, in a line; what is wrong with them, behind "!".
std::string meant_by(const Words& words) {
    UnzipCommand command;
    const std::string wrong = read_command_line(command, words);
    if (!wrong.empty())
        return "!" + wrong;
    std::string meant = name_of(command.task);
    if (!command.archive.empty())
        meant += " " + command.archive;
    meant += std::string(static_cast<std::size_t>(command.quiet), 'q');
    if (command.replace)
        meant += " over all";
    if (command.has_destination)
        meant += " into " + command.destination;
    return meant;
}

TEST(UnzipCommandLine, WithAnArchiveAloneUnpacksIt) {
    EXPECT_EQ(meant_by({"a.zip"}), "unpack a.zip");
}

TEST(UnzipCommandLine, WithNothingAtAllHelps) {
    EXPECT_EQ(meant_by({}), "help");
}

TEST(UnzipCommandLine, TakesEveryLetter) {
    EXPECT_EQ(meant_by({"-q", "A"}), "unpack Aq");
    EXPECT_EQ(meant_by({"-o", "A"}), "unpack A over all");
    EXPECT_EQ(meant_by({"-t", "A"}), "test A");
    EXPECT_EQ(meant_by({"-l", "A"}), "list A");
    EXPECT_EQ(meant_by({"-h"}), "help");
    EXPECT_EQ(meant_by({"-d", "D", "A"}), "unpack A into D");
}

TEST(UnzipCommandLine, TakesLettersTogetherAndApart) {
    EXPECT_EQ(meant_by({"-qoq", "-q", "A"}), "unpack Aqqq over all");
    EXPECT_EQ(meant_by({"-qod", "D", "A"}), "unpack Aq over all into D");
}

TEST(UnzipCommandLine, TakesTheDirectoryBehindTheLetterOrInTheNextWord) {
    EXPECT_EQ(meant_by({"-dD", "A"}), "unpack A into D");
    EXPECT_EQ(meant_by({"-qdoq", "A"}), "unpack Aq into oq");
    EXPECT_EQ(meant_by({"A", "-d", "D"}), "unpack A into D");
    EXPECT_EQ(meant_by({"A", "-dD"}), "unpack A into D");
    EXPECT_EQ(meant_by({"A", "-d", "-q"}), "unpack A into -q");
    EXPECT_EQ(meant_by({"-d", "--help", "A"}), "unpack A into --help");
}

TEST(UnzipCommandLine, RefusesADirectoryThatIsMissingOrEmpty) {
    EXPECT_EQ(meant_by({"A", "-d"}), std::string("!") + kNoDirectory);
    EXPECT_EQ(meant_by({"-qd"}), std::string("!") + kNoDirectory);
    EXPECT_EQ(meant_by({"-d", "", "A"}), std::string("!") + kNoDirectory);
}

TEST(UnzipCommandLine, RefusesASecondDirectory) {
    EXPECT_EQ(meant_by({"-d", "D", "A", "-d", "D"}), "!the option -d is given twice");
    EXPECT_EQ(meant_by({"-dD", "-dE", "A"}), "!the option -d is given twice");
}

TEST(UnzipCommandLine, TestsWhenBothTestAndListAreWanted) {
    EXPECT_EQ(meant_by({"-tl", "A"}), "test A");
    EXPECT_EQ(meant_by({"-lt", "A"}), "test A");
    EXPECT_EQ(meant_by({"-l", "-t", "-l", "A"}), "test A");
}

TEST(UnzipCommandLine, HelpsWhateverElseIsWanted) {
    for (const char* word : {"-ht", "-th", "-hl", "-lh", "-htl", "-hqo"})
        EXPECT_EQ(meant_by({word, "A"}).substr(0, 6), "help A") << word;
}

TEST(UnzipCommandLine, RefusesALetterThatIsNotKnown) {
    EXPECT_EQ(meant_by({"-x", "A"}), "!the option -x is not known; see unzip --help");
    EXPECT_EQ(meant_by({"-qQo", "A"}), "!the option -Q is not known; see unzip --help");
    EXPECT_EQ(meant_by({"-q-", "A"}), "!the option -- is not known; see unzip --help");
}

TEST(UnzipCommandLine, RefusesALongWordThatIsNotKnown) {
    EXPECT_EQ(meant_by({"--quiet", "A"}), "!the option --quiet is not known; see unzip --help");
    EXPECT_EQ(meant_by({"A", "--", "B"}), "!the option -- is not known; see unzip --help");
    EXPECT_EQ(meant_by({"--helpx"}), "!the option --helpx is not known; see unzip --help");
}

TEST(UnzipCommandLine, SaysWhatIsWrongFirst) {
    EXPECT_EQ(meant_by({"-x", "--y", ""}), "!the option -x is not known; see unzip --help");
    EXPECT_EQ(meant_by({"", "-x"}), "!an empty word names nothing; see unzip --help");
}

TEST(UnzipCommandLine, RefusesAnEmptyWord) {
    EXPECT_EQ(meant_by({"A", ""}), "!an empty word names nothing; see unzip --help");
}

TEST(UnzipCommandLine, TakesASingleHyphenForAName) {
    EXPECT_EQ(meant_by({"-"}), "unpack -");
    EXPECT_EQ(meant_by({"-q", "-", "-dD"}), "unpack -q into D");
}

TEST(UnzipCommandLine, RefusesASecondNameAndOptionsBehindTheArchive) {
    const std::string why = " is one name too many: entries cannot be chosen, and options other "
                            "than -d stand before the archive";
    for (const char* word : {"B", "-q", "-o", "-", "-qdD"})
        EXPECT_EQ(meant_by({"A", word}), "!" + (word + why));
    EXPECT_EQ(meant_by({"A", "-dD", "B"}), "!B" + why);
}

TEST(UnzipCommandLine, RefusesOptionsWithoutAnArchive) {
    for (const char* word : {"-q", "-o", "-t", "-l", "-dD"})
        EXPECT_EQ(meant_by({word}), "!no archive is named; see unzip --help") << word;
}

TEST(UnzipCommandLine, TellsHelpAndVersionByTheirLongWords) {
    EXPECT_EQ(meant_by({"--help"}), "help");
    EXPECT_EQ(meant_by({"--version"}), "version");
    EXPECT_EQ(meant_by({"-t", "--version"}), "version");
    EXPECT_EQ(meant_by({"-l", "--help"}), "help");
    EXPECT_EQ(meant_by({"--version", "-h"}), "version");
    EXPECT_EQ(meant_by({"--version", "--help"}), "help");
    EXPECT_EQ(meant_by({"--help", "--version"}), "version");
}

TEST(UnzipCommandLine, RefusesNamesBesideALongWord) {
    EXPECT_EQ(meant_by({"--help", "A"}), "!A is one name too many: --help takes none");
    EXPECT_EQ(meant_by({"A", "--version"}), "!A is one name too many: --version takes none");
    EXPECT_EQ(meant_by({"--help", "-dD"}), "!the option -d is one too many: --help takes none");
    EXPECT_EQ(meant_by({"-dD", "A", "--help"}), "!A is one name too many: --help takes none");
}

TEST(UnzipCommandLine, HasAHelpThatTellsOfEveryOptionAndStatus) {
    const std::string help = kHelpText;
    for (const char* told : {"\n  -o  ", "\n  -d  ", "\n  -t  ", "\n  -l  ", "\n  -q  "})
        EXPECT_NE(help.find(told), std::string::npos) << told;
    std::string line = help;
    std::replace(line.begin(), line.end(), '\n', ' ');
    const std::string statuses =
        "Status: 0 fine, 1 warnings, 2 or 3 a broken archive, 4 no memory, 9 no archive, 10 wrong "
        "options, 11 nothing fits the pattern, 12 entries that overlap, 50 the disk is full, 51 "
        "the archive ends early, 80 interrupted, 81 an unknown method, 82 an encrypted entry. ";
    EXPECT_TRUE(line.ends_with(statuses)) << line;
}

TEST(UnzipCommandLine, HasAHelpOfWholeLinesThatFitATerminal) {
    const std::string help = kHelpText;
    for (std::size_t from = 0, to = 0; from < help.size(); from = to + 1) {
        to = help.find('\n', from);
        ASSERT_NE(to, std::string::npos);
        EXPECT_LE(to - from, 90U) << help.substr(from, to - from);
    }
}

TEST(UnzipCommandLine, HasAVersionOfOneLine) {
    EXPECT_STREQ(kVersionText, "unzip of setupLauncher, for the archives of installation stages\n");
}

} // namespace

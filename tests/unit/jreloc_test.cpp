#include "jreloc.h"

#include "launch_fixture.h"
#include "terminal.h"

#include <sys/ioctl.h>
#include <termios.h>

namespace {

// The operator at the terminal: what is typed ahead of each question and what is typed after it.
// A question is at hand when the launcher drops what was typed ahead.
struct Question {
    const char* typed_ahead; // empty: nothing
    const char* answer;
};

const Terminal* terminal_in_use = nullptr;
std::vector<Question> questions_to_come;

} // namespace

// The system's call, with the operator around it: typing at any other time would be a race.
extern "C" int tcflush(int descriptor, int queue) noexcept {
    const bool at_terminal = terminal_in_use != nullptr && !questions_to_come.empty();
    if (at_terminal && *questions_to_come.front().typed_ahead != '\0')
        terminal_in_use->type(questions_to_come.front().typed_ahead);
    const int result = ioctl(descriptor, TCFLSH, queue);
    if (at_terminal) {
        terminal_in_use->type(questions_to_come.front().answer);
        questions_to_come.erase(questions_to_come.begin());
    }
    return result;
}

namespace {

class JrelocTest : public LaunchFixture {
  protected:
    JrelocTest() {
        make_file("home/bin/java");
        home = room.file("home");
    }

    // Asks with `lines` on standard input.
    int ask(const std::string& lines) {
        const StandardInput input(pipe_of(lines));
        return ask_here();
    }
    int ask_here() {
        int result = 99;
        said = said_by([&] { result = getJRELoc(answer); });
        EXPECT_EQ(said.err, "");
        return result;
    }

    std::string home;
    std::string answer = "before";
    Said said;
};

std::string prompted(const char* key) {
    return "\n" + shown(key);
}

std::string prompts(int retries) {
    std::string text = prompted("S_SPECIFY_JRE_LOCATION");
    for (int i = 0; i < retries; ++i)
        text += prompted("S_SPECIFY_VALID_JRE_LOCATION");
    return text;
}

// --- Wordings

struct Wording {
    const char* name;
    const char* jdk_only;
    const char* jre_only;
    const char* first;
    const char* retry;
};

void PrintTo(const Wording& wording, std::ostream* out) {
    *out << wording.name;
}

constexpr const char* kAny = "S_SPECIFY_JRE_LOCATION";
constexpr const char* kAnyRetry = "S_SPECIFY_VALID_JRE_LOCATION";
constexpr const char* kJre = "S_SPECIFY_JRE_ONLY_LOCATION";
constexpr const char* kJreRetry = "S_SPECIFY_VALID_JRE_ONLY_LOCATION";
constexpr const char* kJdk = "S_SPECIFY_JDK_ONLY_LOCATION";
constexpr const char* kJdkRetry = "S_SPECIFY_VALID_JDK_ONLY_LOCATION";

const Wording kWordings[] = {
    {"WithoutADemand", "FALSE", "FALSE", kAny, kAnyRetry},
    {"WithEmptySettings", "", "", kAny, kAnyRetry},
    {"ForARuntime", "FALSE", "TRUE", kJre, kJreRetry},
    {"ForADevelopmentKit", "TRUE", "FALSE", kJdk, kJdkRetry},
    {"ForBothAsksForAKitAndThenForARuntime", "TRUE", "TRUE", kJdk, kJreRetry},
    {"SmallLettersAreNoDemand", "true", "True", kAny, kAnyRetry},
    {"ABlankBehindItIsNoDemand", "TRUE ", "TRUE ", kAny, kAnyRetry},
    {"TheFirstLetterAloneIsNoDemand", "T", "T", kAny, kAnyRetry},
};

class JrelocWording : public JrelocTest, public testing::WithParamInterface<Wording> {
  protected:
    JrelocWording() {
        state::useJdkOnly = GetParam().jdk_only;
        state::useJreOnly = GetParam().jre_only;
    }
};

TEST_P(JrelocWording, OfTheFirstQuestion) {
    EXPECT_EQ(ask(home + "\n"), 0);
    EXPECT_EQ(said.out, prompted(GetParam().first));
}

TEST_P(JrelocWording, OfEveryRetry) {
    EXPECT_EQ(ask("/no/such\n\n" + home + "\n"), 0);
    EXPECT_EQ(said.out,
              prompted(GetParam().first) + prompted(GetParam().retry) + prompted(GetParam().retry));
}

TEST_P(JrelocWording, DoesNotChangeWhatIsAccepted) {
    make_file("home/lib/rt.jar"); // a runtime's home, whatever was demanded
    EXPECT_EQ(ask(home + "\n"), 0);
    EXPECT_EQ(answer, home);
}

INSTANTIATE_TEST_SUITE_P(Every, JrelocWording, testing::ValuesIn(kWordings),
                         [](const auto& wording) { return wording.param.name; });

// --- Answers

TEST_F(JrelocTest, ADirectoryWithBinAndJavaIsAcceptedAndReturnedAsTyped) {
    EXPECT_EQ(ask(home + "\n"), 0);
    EXPECT_EQ(answer, home);
    EXPECT_EQ(said.out, prompts(0));
}

TEST_F(JrelocTest, ATrailingSlashIsKept) {
    EXPECT_EQ(ask(home + "/\n"), 0);
    EXPECT_EQ(answer, home + "/");
    EXPECT_EQ(said.out, prompts(0));
}

TEST_F(JrelocTest, ARelativeDirectoryIsKeptRelative) {
    std::filesystem::current_path(room.path());
    EXPECT_EQ(ask("home/../home\n"), 0);
    EXPECT_EQ(answer, "home/../home");
}

TEST_F(JrelocTest, JavaNeedNotBeAProgram) {
    make_directory("odd/bin/java");
    EXPECT_EQ(ask(room.file("odd") + "\n"), 0);
    EXPECT_EQ(answer, room.file("odd"));
}

TEST_F(JrelocTest, AnEmptyLineIsAskedAgainWithoutLookingAtTheFileSystem) {
    // Below nothing lies the system's own /bin/java: it must not be found.
    EXPECT_EQ(ask("\n" + home + "\n"), 0);
    EXPECT_EQ(said.out, prompts(1));
    EXPECT_EQ(answer, home);
}

TEST_F(JrelocTest, EveryWrongDirectoryIsAskedAgain) {
    make_directory("nothing_in_it");
    make_directory("no_java/bin");
    make_file("java_without_bin/java");
    make_file("a_file");
    EXPECT_EQ(ask("/no/such\n" + room.file("nothing_in_it") + "\n" + room.file("no_java") + "\n" +
                  room.file("java_without_bin") + "\n" + room.file("a_file") + "\n" + " " + home +
                  "\n" + home + "/bin\n" + home + "\n"),
              0);
    EXPECT_EQ(said.out, prompts(7));
    EXPECT_EQ(answer, home);
}

TEST_F(JrelocTest, ALongLineIsReadWhole) {
    std::string longest = home;
    while (longest.size() < 3000)
        longest += "/.";
    EXPECT_EQ(ask(longest + "\n"), 0);
    EXPECT_EQ(answer, longest);
    EXPECT_EQ(said.out, prompts(0));
}

TEST_F(JrelocTest, AnAnswerIsCutAtANul) {
    EXPECT_EQ(ask(home + std::string("\0/elsewhere\n", 12)), 0);
    EXPECT_EQ(answer, home);
    EXPECT_EQ(said.out, prompts(0));
}

TEST_F(JrelocTest, AnAnswerThatBeginsWithANulIsAnEmptyOne) {
    EXPECT_EQ(ask(std::string("\0/usr\n", 6) + home + "\n"), 0);
    EXPECT_EQ(answer, home);
    EXPECT_EQ(said.out, prompts(1));
}

TEST_F(JrelocTest, ALastLineWithoutALineFeedIsAnAnswer) {
    EXPECT_EQ(ask(home), 0);
    EXPECT_EQ(answer, home);
}

TEST_F(JrelocTest, TheEndOfTheInputEndsTheQuestionsWithMinus1) {
    EXPECT_EQ(ask(""), -1);
    EXPECT_EQ(said.out, prompts(0));
    EXPECT_EQ(ask("/no/such\n\n"), -1);
    EXPECT_EQ(said.out, prompts(2));
    EXPECT_EQ(ask("/no/such"), -1);
    EXPECT_EQ(said.out, prompts(1));
    EXPECT_EQ(answer, "before");
}

TEST_F(JrelocTest, WhatFollowsTheAnswerStaysForTheInstaller) {
    const StandardInput input(pipe_of("/no/such\n" + home + "\nfor the installer\n"));
    EXPECT_EQ(ask_here(), 0);
    EXPECT_EQ(answer, home);
    EXPECT_EQ(rest_of(STDIN_FILENO), "for the installer\n");
}

TEST_F(JrelocTest, LinesInAFileAreNotDropped) {
    const StandardInput input(
        open(room.write("lines", "/no/such\n" + home + "\nrest\n").c_str(), O_RDONLY));
    EXPECT_EQ(ask_here(), 0);
    EXPECT_EQ(said.out, prompts(1));
    EXPECT_EQ(rest_of(STDIN_FILENO), "rest\n");
}

TEST_F(JrelocTest, TheVanillaQuestionIsTheSame) {
    state::useJdkOnly = "TRUE";
    const StandardInput input(pipe_of("\n" + home + "/\n"));
    const std::string out = shown_by([&] { EXPECT_EQ(getVanillaJRELoc(answer), 0); });
    EXPECT_EQ(out, prompted(kJdk) + prompted(kJdkRetry));
    EXPECT_EQ(answer, home + "/");
    shown_by([&] { EXPECT_EQ(getVanillaJRELoc(answer), -1); });
}

// --- At a terminal

class JrelocTerminalTest : public JrelocTest {
  protected:
    ~JrelocTerminalTest() override {
        terminal_in_use = nullptr;
        questions_to_come.clear();
    }

    int ask_at_terminal(const std::vector<Question>& questions) {
        const Terminal terminal;
        const StandardInput input(terminal.open_other_side());
        terminal_in_use = &terminal;
        questions_to_come = questions;
        const int result = ask_here();
        terminal_in_use = nullptr;
        EXPECT_TRUE(questions_to_come.empty());
        return result;
    }
};

TEST_F(JrelocTerminalTest, AnAnswerTypedAfterTheQuestionIsTaken) {
    const std::string line = home + "\n";
    EXPECT_EQ(ask_at_terminal({{"", line.c_str()}}), 0);
    EXPECT_EQ(answer, home);
    EXPECT_EQ(said.out, prompts(0));
}

TEST_F(JrelocTerminalTest, WhatWasTypedAheadOfAQuestionIsDropped) {
    make_file("other/bin/java");
    const std::string ahead = room.file("other") + "\n";
    const std::string line = home + "\n";
    EXPECT_EQ(ask_at_terminal({{ahead.c_str(), line.c_str()}}), 0);
    EXPECT_EQ(answer, home);
    EXPECT_EQ(said.out, prompts(0));
}

TEST_F(JrelocTerminalTest, WhatWasTypedAheadOfARetryIsDroppedToo) {
    make_file("other/bin/java");
    const std::string ahead = room.file("other") + "\n";
    const std::string line = home + "\n";
    EXPECT_EQ(ask_at_terminal({{"", "/no/such\n"}, {ahead.c_str(), "\n"}, {"", line.c_str()}}), 0);
    EXPECT_EQ(answer, home);
    EXPECT_EQ(said.out, prompts(2));
}

TEST_F(JrelocTerminalTest, TheEndCharacterEndsTheQuestions) {
    EXPECT_EQ(ask_at_terminal({{"", "/no/such\n"}, {"", "\x04"}}), -1);
    EXPECT_EQ(said.out, prompts(1));
    EXPECT_EQ(answer, "before");
}

} // namespace

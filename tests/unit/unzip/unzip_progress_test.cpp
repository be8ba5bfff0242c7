#include "unzip/progress.h"

#include "unit_surroundings.h"
#include "unzip/messages.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kSilence{1000};
constexpr milliseconds kPause{100};
constexpr milliseconds kMoment{20};

// What `call` writes as a process whose standard error is a terminal of so many columns.
template <typename Call>
std::string shown_on_terminal(unsigned short columns, bool in_foreground, const Call& call) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    EXPECT_GE(terminal, 0);
    EXPECT_EQ(grantpt(terminal), 0);
    EXPECT_EQ(unlockpt(terminal), 0);
    const std::string name = ptsname(terminal);
    const int kept_open = open(name.c_str(), O_RDWR | O_NOCTTY);
    EXPECT_GE(kept_open, 0);
    struct winsize size {};
    size.ws_col = columns;
    EXPECT_EQ(ioctl(kept_open, TIOCSWINSZ, &size), 0);
    std::fflush(nullptr);
    const pid_t child = fork();
    EXPECT_NE(child, -1);
    if (child == 0) {
        setsid();
        const int side = open(name.c_str(), O_RDWR); // becomes the terminal of the new session
        close(terminal);
        close(kept_open);
        dup2(side, STDERR_FILENO);
        const pid_t worker = in_foreground ? 0 : fork();
        if (worker == 0) {
            if (!in_foreground)
                setpgid(0, 0);
            call();
        } else {
            waitpid(worker, nullptr, 0);
        }
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    // Everything has arrived; what never comes must not be waited for.
    fcntl(terminal, F_SETFL, O_NONBLOCK);
    std::string shown;
    std::array<char, 4096> piece{};
    for (ssize_t got = 0; (got = read(terminal, piece.data(), piece.size())) > 0;)
        shown.append(piece.data(), static_cast<std::size_t>(got));
    close(kept_open);
    close(terminal);
    return shown;
}

void mark(const std::string& text) {
    EXPECT_EQ(write(STDERR_FILENO, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

void wait_for(milliseconds time) {
    std::this_thread::sleep_for(time + kMoment);
}

std::string subject_on_terminal() {
    return shown_on_terminal(80, true, [] { mark("<" + progress_subject() + ">"); });
}

TEST(UnzipProgress, HasTheSubjectThatTheLauncherTells) {
    const Variable subject(kProgressVariable, "Core Component");
    EXPECT_EQ(subject_on_terminal(), "<Core Component>");
}

TEST(UnzipProgress, HasNoSubjectWithoutTheLauncher) {
    const Variable subject(kProgressVariable, std::nullopt);
    EXPECT_EQ(subject_on_terminal(), "<>");
}

TEST(UnzipProgress, HasNoSubjectWhereStandardErrorIsNoTerminal) {
    const Variable subject(kProgressVariable, "Core");
    EXPECT_EQ(complained_by([] { mark("<" + progress_subject() + ">"); }), "<>");
}

TEST(UnzipProgress, ShowsControlCharactersOfTheSubjectAsLetters) {
    const Variable subject(kProgressVariable, "a\x1b[2J\nb");
    EXPECT_EQ(subject_on_terminal(), "<a^[[2J^Jb>");
}

TEST(UnzipProgress, IsToldInPercentAndMegabytes) {
    EXPECT_EQ(progress_text("core", 0, 250000000, 80), "0% 0/250 MB core");
    EXPECT_EQ(progress_text("core", 2499999, 250000000, 80), "0% 2/250 MB core");
    EXPECT_EQ(progress_text("core", 2500000, 250000000, 80), "1% 2/250 MB core");
    EXPECT_EQ(progress_text("core", 125000000, 250000000, 80), "50% 125/250 MB core");
    EXPECT_EQ(progress_text("core", 249999999, 250000000, 80), "99% 249/250 MB core");
    EXPECT_EQ(progress_text("core", 250000000, 250000000, 80), "100% 250/250 MB core");
}

TEST(UnzipProgress, IsToldRightOfTheSmallestAndTheGreatestArchives) {
    EXPECT_EQ(progress_text("core", 1, 2, 80), "50% 0/0 MB core");
    EXPECT_EQ(progress_text("core", 149, 150, 80), "99% 0/0 MB core");
    EXPECT_EQ(progress_text("core", 150, 150, 80), "100% 0/0 MB core");
    EXPECT_EQ(progress_text("core", UINT64_MAX / 2, UINT64_MAX, 80),
              "50% 9223372036854/18446744073709 MB core");
    EXPECT_EQ(progress_text("core", UINT64_MAX, UINT64_MAX, 80),
              "100% 18446744073709/18446744073709 MB core");
}

TEST(UnzipProgress, OfNothingToDoIsWhole) {
    EXPECT_EQ(progress_text("core", 0, 0, 80), "100% 0/0 MB core");
}

TEST(UnzipProgress, NeverTellsMoreThanThereIs) {
    EXPECT_EQ(progress_text("core", 9000000, 5000000, 80), "100% 5/5 MB core");
    EXPECT_EQ(progress_text("core", 1, 0, 80), "100% 0/0 MB core");
}

TEST(UnzipProgress, LeavesTheLastColumnFree) {
    EXPECT_EQ(progress_text("core", 0, 0, 17), "100% 0/0 MB core");
    EXPECT_EQ(progress_text("core", 0, 0, 16), "100% 0/0 MB cor");
    EXPECT_EQ(progress_text("core", 0, 0, 2), "1");
    EXPECT_EQ(progress_text("core", 0, 0, 1), "");
    EXPECT_EQ(progress_text("core", 0, 0, 0), "");
}

TEST(UnzipProgress, IsShownOverTheLineBeforeAndErasedWhole) {
    EXPECT_EQ(shown_on_terminal(80, true,
                                [] {
                                    start_progress("x", 1000000000);
                                    wait_for(kSilence);
                                    show_progress(500000000);
                                    wait_for(kPause);
                                    show_progress(0);
                                    wait_for(kPause);
                                    show_progress(10000000);
                                    erase_progress();
                                    erase_progress();
                                }),
              "\r50% 500/1000 MB x"
              "\r0% 0/1000 MB x   "
              "\r1% 10/1000 MB x  "
              "\r                 \r");
}

TEST(UnzipProgress, IsErasedByAMessage) {
    EXPECT_EQ(shown_on_terminal(80, true,
                                [] {
                                    start_progress("x", 0);
                                    wait_for(kSilence);
                                    show_progress(0);
                                    complain_of("a", "b");
                                    wait_for(kPause);
                                    show_progress(0);
                                }),
              "\r100% 0/0 MB x"
              "\r             \r"
              "unzip: a: b\r\n"
              "\r100% 0/0 MB x");
}

TEST(UnzipProgress, KeepsQuietForASecond) {
    const auto quiet_at_first = [] {
        return shown_on_terminal(80, true, [] {
            const auto start = Clock::now();
            start_progress("x", 0);
            show_progress(0);
            while (Clock::now() - start < kSilence / 2)
                show_progress(0);
            erase_progress();
            mark(Clock::now() - start < kSilence ? "|" : "held up");
            wait_for(kSilence / 2);
            show_progress(0);
        });
    };
    std::string shown = quiet_at_first();
    for (int again = 0; again < 5 && shown.find("held up") != std::string::npos; ++again)
        shown = quiet_at_first();
    EXPECT_EQ(shown, "|\r100% 0/0 MB x");
}

TEST(UnzipProgress, IsShownTenTimesASecondAtMost) {
    const std::string shown = shown_on_terminal(80, true, [] {
        start_progress("x", 0);
        wait_for(kSilence);
        const auto start = Clock::now();
        while (Clock::now() - start < 4 * kPause)
            show_progress(0);
        show_progress(0); // the loop may have been held up
        const auto taken = std::chrono::duration_cast<milliseconds>(Clock::now() - start);
        mark("|" + std::to_string(taken.count()));
    });
    const auto lines = std::count(shown.begin(), shown.end(), '\r');
    const int taken = std::stoi(shown.substr(shown.find('|') + 1));
    EXPECT_GE(lines, 2) << shown;
    EXPECT_LE((lines - 1) * kPause.count(), taken + 1) << shown;
}

TEST(UnzipProgress, FitsTheTerminal) {
    const auto show = [] {
        start_progress(std::string(200, 'x'), 0);
        wait_for(kSilence);
        show_progress(0);
    };
    EXPECT_EQ(shown_on_terminal(20, true, show), "\r100% 0/0 MB xxxxxxx");
    // A terminal that does not know its width is taken for one of 80 columns.
    EXPECT_EQ(shown_on_terminal(0, true, show), "\r100% 0/0 MB " + std::string(67, 'x'));
}

TEST(UnzipProgress, ShowsNothingWithoutASubjectNorInTheBackground) {
    const auto show = [](const char* subject) {
        start_progress(subject, 0);
        wait_for(kSilence);
        show_progress(0);
        erase_progress();
        mark("|");
    };
    EXPECT_EQ(shown_on_terminal(80, true, [&] { show(""); }), "|");
    EXPECT_EQ(shown_on_terminal(80, false, [&] { show("x"); }), "|");
}

TEST(UnzipProgress, BegunAgainKnowsNothingOfTheLineBefore) {
    EXPECT_EQ(shown_on_terminal(80, true,
                                [] {
                                    start_progress("long subject", 0);
                                    wait_for(kSilence);
                                    show_progress(0);
                                    start_progress("x", 2000000);
                                    erase_progress();
                                    wait_for(kSilence);
                                    show_progress(1000000);
                                }),
              "\r100% 0/0 MB long subject"
              "\r50% 1/2 MB x");
}

} // namespace

#include "platform/console_input.h"

#include "launch_fixture.h"
#include "noted_signal.h"
#include "terminal.h"

#include <csignal>
#include <sys/time.h>

namespace {

int file_of(const TemporaryDirectory& room, const std::string& bytes) {
    return open(room.write("input", bytes).c_str(), O_RDONLY);
}

// Every line that standard input still has.
std::vector<std::string> all_lines() {
    std::vector<std::string> lines;
    std::string line;
    while (read_console_line(line))
        lines.push_back(line);
    EXPECT_EQ(line, "");
    return lines;
}

using Lines = std::vector<std::string>;

struct Input {
    std::string bytes;
    Lines lines;
};

const Input kInputs[] = {
    {"", {}},
    {"one\n", {"one"}},
    {"one\ntwo\n", {"one", "two"}},
    {"\n\n", {"", ""}},
    {"no line feed", {"no line feed"}},
    {"one\nlast", {"one", "last"}},
    {" \t kept \r\n", {" \t kept \r"}},
    {"y\xFF\x80z\n", {"y\xFF\x80z"}},
    {std::string("a\0b\n", 4), {std::string("a\0b", 3)}},
    {std::string(50000, 'x') + "\ny\n", {std::string(50000, 'x'), "y"}},
};

TEST(ReadConsoleLine, GivesTheLinesOfAPipeWithoutTheirLineFeeds) {
    for (const Input& input : kInputs) {
        const StandardInput standard_input(pipe_of(input.bytes));
        EXPECT_EQ(all_lines(), input.lines);
    }
}

TEST(ReadConsoleLine, GivesTheLinesOfAFileWithoutTheirLineFeeds) {
    const TemporaryDirectory room;
    for (const Input& input : kInputs) {
        const StandardInput standard_input(file_of(room, input.bytes));
        EXPECT_EQ(all_lines(), input.lines);
    }
}

// The lines of `bytes` when none may have more than four bytes, the line feed among them.
Lines short_lines(const std::string& bytes) {
    const StandardInput input(pipe_of(bytes));
    Lines lines;
    std::string line;
    while (read_console_line(line, 4))
        lines.push_back(line);
    return lines;
}

TEST(ReadConsoleLine, LeavesWhatIsTooLongToTheNextLine) {
    EXPECT_EQ(short_lines("one\nnext\n"), (Lines{"one", "next", ""}));
    EXPECT_EQ(short_lines("longest\ny\n"), (Lines{"long", "est", "y"}));
    EXPECT_EQ(short_lines("12345678"), (Lines{"1234", "5678"}));
    EXPECT_EQ(short_lines("\n"), Lines{""});
}

TEST(ReadConsoleLine, LeavesWhatFollowsInAPipeToTheNextReader) {
    const StandardInput input(pipe_of("answer\nfor the installer\n"));
    std::string line;
    EXPECT_TRUE(read_console_line(line));
    EXPECT_EQ(line, "answer");
    EXPECT_EQ(rest_of(STDIN_FILENO), "for the installer\n");
}

TEST(ReadConsoleLine, LeavesWhatFollowsInAFileToTheNextReader) {
    const TemporaryDirectory room;
    const StandardInput input(file_of(room, "answer\nfor the installer\n"));
    std::string line;
    EXPECT_TRUE(read_console_line(line));
    EXPECT_EQ(lseek(STDIN_FILENO, 0, SEEK_CUR), 7);
    EXPECT_EQ(rest_of(STDIN_FILENO), "for the installer\n");
}

TEST(ReadConsoleLine, ForgetsTheLineBeforeAlsoAtTheEnd) {
    const StandardInput input(pipe_of("one\n"));
    std::string line = "before";
    EXPECT_TRUE(read_console_line(line));
    EXPECT_EQ(line, "one");
    EXPECT_FALSE(read_console_line(line));
    EXPECT_EQ(line, "");
    EXPECT_FALSE(read_console_line(line));
}

TEST(ReadConsoleLine, AClosedStandardInputIsAtItsEnd) {
    const StandardInput input(pipe_of("unread"));
    close(STDIN_FILENO);
    std::string line = "before";
    EXPECT_FALSE(read_console_line(line));
    EXPECT_EQ(line, "");
    open("/dev/null", O_RDONLY); // takes the place that was closed
}

int writing_end = -1;

void write_line_on_alarm(int /*signal*/) {
    const char line[] = "late\n";
    if (write(writing_end, line, sizeof line - 1) < 0)
        _exit(99);
    close(writing_end);
}

TEST(ReadConsoleLine, ASignalWhileWaitingDoesNotEndTheLine) {
    int ends[2] = {-1, -1};
    ASSERT_EQ(pipe(ends), 0);
    writing_end = ends[1];
    put(writing_end, "a ");
    struct sigaction before {};
    struct sigaction interrupt {};
    interrupt.sa_handler = write_line_on_alarm; // without SA_RESTART: the read is interrupted
    sigaction(SIGALRM, &interrupt, &before);
    const StandardInput input(ends[0]);
    itimerval soon{};
    soon.it_value.tv_usec = 20000;
    setitimer(ITIMER_REAL, &soon, nullptr);
    std::string line;
    EXPECT_TRUE(read_console_line(line));
    EXPECT_EQ(line, "a late");
    EXPECT_FALSE(read_console_line(line));
    sigaction(SIGALRM, &before, nullptr);
}

TEST(ReadConsoleLine, ReadsNothingOnceASignalIsNoted) {
    const StandardInput input(pipe_of("answer\n"));
    {
        const NotedSignal signal;
        std::string line;
        EXPECT_FALSE(read_console_line(line));
    }
    EXPECT_EQ(all_lines(), Lines{"answer"});
}

// --- What was typed ahead

TEST(DropTypedAhead, LinesInAPipeStay) {
    const StandardInput input(pipe_of("one\ntwo\n"));
    drop_typed_ahead();
    EXPECT_EQ(all_lines(), (Lines{"one", "two"}));
}

TEST(DropTypedAhead, LinesInAFileStay) {
    const TemporaryDirectory room;
    const StandardInput input(file_of(room, "one\ntwo\n"));
    std::string line;
    EXPECT_TRUE(read_console_line(line));
    drop_typed_ahead();
    EXPECT_EQ(all_lines(), Lines{"two"});
}

TEST(DropTypedAhead, WithoutAnyInputNothingHappens) {
    const StandardInput input(pipe_of(""));
    close(STDIN_FILENO);
    drop_typed_ahead();
    std::string line;
    EXPECT_FALSE(read_console_line(line));
    open("/dev/null", O_RDONLY);
}

TEST(DropTypedAhead, LinesTypedOnATerminalAreDropped) {
    const Terminal terminal;
    const StandardInput input(terminal.open_other_side());
    terminal.type("stale\n");
    drop_typed_ahead();
    terminal.type("fresh\n");
    std::string line;
    EXPECT_TRUE(read_console_line(line));
    EXPECT_EQ(line, "fresh");
}

TEST(ReadConsoleLine, ReadsLineByLineFromATerminalUntilItHangsUp) {
    Terminal terminal;
    const StandardInput input(terminal.open_other_side());
    terminal.type("one\ntwo\n");
    std::string line;
    EXPECT_TRUE(read_console_line(line));
    EXPECT_EQ(line, "one");
    EXPECT_TRUE(read_console_line(line));
    EXPECT_EQ(line, "two");
    terminal.hang_up();
    EXPECT_FALSE(read_console_line(line));
}

TEST(ReadConsoleLine, TheEndCharacterOfATerminalEndsTheInput) {
    const Terminal terminal;
    const StandardInput input(terminal.open_other_side());
    terminal.type("\x04");
    std::string line = "before";
    EXPECT_FALSE(read_console_line(line));
    EXPECT_EQ(line, "");
}

} // namespace

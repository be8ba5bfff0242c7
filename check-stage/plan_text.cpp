#include "plan_text.h"

#include "base/text.h"
#include "findings.h"
#include "quiet_files.h"

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

std::string scratch_stand_in;
std::string scratch_name;

constexpr mode_t kOwnFileMode = 0600;
std::string taken_down_file;
int standard_output = -1;
int standard_error = -1;

void flush_both() {
    static_cast<void>(std::fflush(stdout));
    static_cast<void>(std::fflush(stderr));
}

// Makes `stream` another name of the open `file`.
void lead_to(int stream, int file) {
    if (dup2(file, stream) < 0) {
        // Then messages stand between the lines of the plan.
    }
}

void print_line(const std::string& text) {
    const std::string line = escaped(with_scratch_name(text)) + "\n";
    std::fwrite(line.data(), 1, line.size(), stdout);
}

} // namespace

void call_scratch(const std::string& stand_in, const std::string& name) {
    scratch_stand_in = stand_in;
    scratch_name = name;
}

std::string with_scratch_name(std::string text) {
    if (scratch_stand_in.empty())
        return text;
    for (std::size_t at = text.find(scratch_stand_in); at != std::string::npos;
         at = text.find(scratch_stand_in, at + scratch_name.size()))
        text.replace(at, scratch_stand_in.size(), scratch_name);
    return text;
}

void say_headline(const std::string& text) {
    std::fputs("\n", stdout);
    print_line(text);
}

void say(const std::string& text) {
    print_line("  " + text);
}

void say_message(const std::string& message) {
    for (const std::string& line : split(message, "\n"))
        print_line("  | " + line);
}

void say_end(const std::string& where, int status, const std::string& message) {
    say_headline("The launch ends " + where + ", with status " + std::to_string(status & 0xff) +
                 ":");
    if (message.empty())
        say("without a message");
    say_message(message);
}

void begin_taking_down() {
    flush_both();
    taken_down_file = own_directory() + "/said";
    const int file = open(taken_down_file.c_str(),
                          O_RDWR | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, kOwnFileMode);
    if (file < 0)
        return;
    standard_output = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    standard_error = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    lead_to(STDOUT_FILENO, file);
    lead_to(STDERR_FILENO, file);
    close(file);
}

std::string end_taking_down() {
    flush_both();
    if (standard_output >= 0) {
        lead_to(STDOUT_FILENO, standard_output);
        close(standard_output);
    }
    if (standard_error >= 0) {
        lead_to(STDERR_FILENO, standard_error);
        close(standard_error);
    }
    standard_output = standard_error = -1;
    std::string said;
    constexpr std::size_t most = std::size_t{1} << 20;
    read_quietly(said, taken_down_file, most);
    return said;
}

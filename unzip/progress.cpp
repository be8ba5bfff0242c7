#include "unzip/progress.h"

#include "unzip/names.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr std::int64_t kSilence = 1000; // milliseconds
constexpr std::int64_t kPause = 100;
constexpr unsigned kUsualWidth = 80;
constexpr std::uint64_t kMegabyte = 1000000;
constexpr std::uint64_t kWhole = 100; // percent

std::string shown_subject;
std::uint64_t whole = 0;
std::int64_t next_time = 0;
std::size_t shown_width = 0; // of the line that stands there

// A clock that is never set, in milliseconds.
std::int64_t now() {
    const auto moment = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(moment).count();
}

unsigned terminal_width() {
    struct winsize size {};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return kUsualWidth;
    return size.ws_col;
}

// What cannot be written is left out: the line is of use only to those who see it.
void write_line(const std::string& text) {
    const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
    static_cast<void>(written);
}

std::uint64_t percent_of(std::uint64_t done, std::uint64_t total) {
    if (total == 0)
        return kWhole;
    // A hundred times what is done may be more than a number holds.
    return total > UINT64_MAX / kWhole ? done / (total / kWhole) : done * kWhole / total;
}

} // namespace

std::string progress_subject() {
    const char* subject = std::getenv(kProgressVariable);
    if (subject == nullptr || isatty(STDERR_FILENO) == 0)
        return "";
    return printable(subject);
}

std::string progress_text(const std::string& subject, std::uint64_t done, std::uint64_t total,
                          unsigned width) {
    done = std::min(done, total);
    const std::string text = std::to_string(percent_of(done, total)) + "% " +
                             std::to_string(done / kMegabyte) + "/" +
                             std::to_string(total / kMegabyte) + " MB " + subject;
    // The last column stays free: in it some terminals begin a new line.
    return text.substr(0, width > 1 ? width - 1 : 0);
}

void start_progress(const std::string& subject, std::uint64_t total) {
    shown_subject = subject;
    whole = total;
    shown_width = 0;
    next_time = now() + kSilence;
}

void show_progress(std::uint64_t done) {
    if (shown_subject.empty() || now() < next_time || tcgetpgrp(STDERR_FILENO) != getpgrp())
        return;
    next_time = now() + kPause;
    const std::string text = progress_text(shown_subject, done, whole, terminal_width());
    const std::size_t rest = shown_width > text.size() ? shown_width - text.size() : 0;
    write_line("\r" + text + std::string(rest, ' '));
    shown_width = std::max(shown_width, text.size());
}

void erase_progress() {
    if (shown_width > 0)
        write_line("\r" + std::string(shown_width, ' ') + "\r");
    shown_width = 0;
}

// The line that tells an operator how far a long unpacking is.
//
// Owns: when it is shown, where, how often, and its erasing. Leaves to others: counting
// (extraction) and the wish for it, which the launcher tells by an environment variable.
//
// There is a line only on a terminal that this process may write to, from the second second on and
// at most ten times a second.
#pragma once

#include <cstdint>
#include <string>

// The variable by which the launcher tells what is being unpacked, as the line is to call it. The
// launcher has the name in c/bootstrap/bootstrap.cpp.
inline constexpr const char* kProgressVariable = "LAUNCHER_UNPACKING";

// What is unpacked, from the environment; empty when no line is wanted or none can be shown.
std::string progress_subject();

// The text of the line: percentage, megabytes, subject, of at most `width` characters.
std::string progress_text(const std::string& subject, std::uint64_t done, std::uint64_t total,
                          unsigned width);

// Begins to count the seconds; `subject` empty for no line at all.
void start_progress(const std::string& subject, std::uint64_t total);

// Shows the line with `done` bytes done if it is time to.
void show_progress(std::uint64_t done);

// Erases the line if there is one.
void erase_progress();

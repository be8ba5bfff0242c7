// What is wrong with a stage or a home: collected while it is looked at, printed at the end.
//
// Owns: the three grades, the form of a line, the order of lines, the counts. Leaves to others:
// finding anything.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Ask for it when a finding belongs to a file as a whole.
inline constexpr std::size_t kNoLine = 0;

// No launch survives it, or another thing runs than was shipped.
void report_error(const std::string& file, std::size_t line, const std::string& text);
// It has no effect, or another one than was meant.
void report_warning(const std::string& file, std::size_t line, const std::string& text);
// Worth knowing, and probably meant.
void report_note(const std::string& file, std::size_t line, const std::string& text);

// Prints every finding as "FILE:LINE: grade: text", errors first and each grade by file and line,
// and the counts in a last line.
void print_findings();

// How many errors there are.
std::size_t error_count();

// Forgets every finding.
void forget_findings();

// `text` with what a line cannot hold as it is written as \n, \t or \xNN: control characters,
// bytes that are no UTF-8, and the backslash itself. With `is_file` a colon too, which ends a file.
std::string escaped(std::string_view text, bool is_file = false);

// "1 file", "2 files".
std::string counted(std::size_t number, std::string_view noun);

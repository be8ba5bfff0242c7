// Lines from the operator.
//
// Owns: reading standard input without taking more than the line asked for, so that what follows
// stays for the next question or for the installer. Leaves to others: what is asked.
#pragma once

#include <cstdint>
#include <string>

// Reads one line without its line feed. False at the end of the input with nothing read, and when a
// signal has been noted; a last line without a line feed counts as a line. Takes at most `longest`
// bytes, the line feed among them: what is left of a longer line is the next one.
bool read_console_line(std::string& line, std::size_t longest = SIZE_MAX);

// Throws away what was typed ahead on a terminal; lines in a pipe or file stay.
void drop_typed_ahead();

// What the catalogue compiler says about what it refuses.
//
// Owns: the form of a report, how many there were, and that a refused compilation leaves no
// catalogue behind. Leaves to others: finding the problems.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Writes "file:line: KEY: message" to standard error and counts it; without a line (0) or a key
// (empty) that piece is left out.
void report_problem(const std::string& file, std::size_t line, std::string_view key,
                    std::string_view message);

std::size_t problem_count();

// The file that give_up removes.
void remove_when_giving_up(const std::string& output);

// Ends the program with status 1.
[[noreturn]] void give_up();

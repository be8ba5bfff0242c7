// What kind of program a file is.
//
// Owns: telling a text for the shell from bytes that no shell may run, and reading which program a
// file names to be run by. Leaves to others: starting it (program_start) and what is said.
#pragma once

#include <string>

// Whether `path` is a text, and so a script for the shell even without a first line that says so:
// not empty, and its beginning without a NUL or a control character that no text has. False for
// what cannot be read.
bool is_plain_text(const std::string& path);

// What runs the file: the interpreter of its first line "#!", with a carriage return that ends it,
// or the loader that a program for x86 names. Empty for others and for what cannot be read.
std::string runner_named_by(const std::string& path);

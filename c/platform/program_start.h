// Becoming another program.
//
// Owns: the search for the program, what goes to the shell, and which file it was that could not be
// started. Leaves to others: the child process it happens in (spawn) and what is said.
#pragma once

#include <string>
#include <vector>

// The file that could not be started and the system's error number.
struct StartFailure {
    std::string path;
    int error;
};

// Becomes `program` with `arguments`, searched along PATH when it has no "/", and a plain text
// through /bin/sh: all as execvp does it, except that a file which is neither a program of this
// machine nor a text fails with ENOEXEC. Comes back only when that fails.
StartFailure become_program(const std::string& program, const std::vector<std::string>& arguments);

// Whether programs can be started from `directory`: 0, or the error number with which the system
// refuses (EACCES where the file system is mounted so). Also 0 where nothing can be written, which
// says nothing about programs. Nothing stays in the directory.
int refusal_of_programs_in(const std::string& directory);

// What a system command prints, and how much room a file system has.
//
// Owns: running a command through the shell with its output caught in the scratch directory, and
// the measure of free space. Leaves to others: which commands, and reading their output.
#pragma once

#include <optional>
#include <string>
#include <string_view>

// Everything that `command` prints, both streams together, up to its first NUL; nothing when it
// cannot be run or its output not be read. The output stays in `scratchLoc` as
// command_output_PID. A command that a signal ended is told of.
std::optional<std::string> GetCommandOutput(const std::string& command,
                                            const std::string& scratchLoc);

// The same in the C locale. LC_ALL gets its value back; without one it ends up set and empty.
std::optional<std::string> GetCommandOutputInEnglish(const std::string& command,
                                                     const std::string& scratchLoc);

// Whether `output` is what a shell says that could not run the command, or nothing at all.
bool is_unusable(const std::optional<std::string>& output);

// Room for unprivileged users on the file system of `volName`, in megabytes; 0 after a message when
// it cannot be queried.
double getFreeSpaceForVolume(const std::string& volName);

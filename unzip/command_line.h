// The command line of unzip.
//
// Owns: which letters there are and what they mean, help and version. Leaves to others: doing it.
// What is not known is refused and never passed over, and no environment variable adds to it.
#pragma once

#include <string>
#include <vector>

enum class UnzipTask { kUnpack, kTest, kList, kHelp, kVersion };

struct UnzipCommand {
    UnzipTask task = UnzipTask::kUnpack;
    int quiet = 0;        // how often -q was given
    bool replace = false; // -o: files that are there are replaced
    std::string archive;  // a file or a pattern
    std::string destination;
    bool has_destination = false;
};

// Reads the arguments behind the program's name; the result is empty, or says in a line what is
// wrong with them.
std::string read_command_line(UnzipCommand& command, const std::vector<std::string>& arguments);

// The texts of --help and --version.
extern const char* const kHelpText;
extern const char* const kVersionText;

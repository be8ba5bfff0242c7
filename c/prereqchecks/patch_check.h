// The check for installed patches.
//
// Owns: reading the system's list of patches and the rule that a later revision, or a patch that
// made the wanted one obsolete, will do. Leaves to others: the shape of a check (system_checks),
// what a failure leads to (prereq_driver).
#pragma once

#include <string>
#include <string_view>

// Patch ids separated by blanks.
struct PatchLists {
    std::string installed;
    std::string obsoleted;
};

// Every patch of the list `value` (NUMBER-REVISION, separated by commas) is installed. The line
// with the whole list is shown only with `bLogPatchesToConsole` 1; 0 passed, 1 failed.
int CheckPatchesInstalled(const std::string& value, const std::string& version,
                          const std::string& scratchLoc, int bLogPatchesToConsole);

// Whether `command_out`, a list of patch ids or null, holds `patch` in its revision or a later one.
// `found_pat` becomes the last patch of that number that was looked at, or empty.
bool isHigherPatchInstalled(const std::string& patch, const char* command_out,
                            std::string& found_pat);

// The two lists in the output of "showrev -p".
PatchLists parse_patch_lists(std::string_view output);

// The relative scratch directory that a parent launcher passes on.
//
// Owns: the place that it means, which is fixed while the directory in which it is meant is still
// the current one, and its way back into what the installer is given. Leaves to others: making and
// removing scratch directories (scratch), when the directory is left (launch).
#pragma once

#include <string>
#include <vector>

// Both are empty unless the scratch directory is a relative one whose place is known.
struct GivenScratch {
    std::string text;  // as it was given
    std::string place; // what it means
};

// Gives `scratchLoc` the scratch directory `given`; a relative one is meant in `curDir` when
// `have_current` says that it is known.
GivenScratch use_given_scratch(std::string& scratchLoc, const std::string& given,
                               const std::string& curDir, bool have_current);

// `text` with the scratch directory as it was given, wherever it stands as a path of its own.
std::string with_given_scratch(const GivenScratch& scratch, std::string text);

// Makes that of the installer's arguments `args`. The program, their first, stays as the system
// finds it from any directory, and the last `typed` of them stay as the operator typed them.
void hand_on_given_scratch(const GivenScratch& scratch, std::vector<std::string>& args,
                           std::size_t typed);

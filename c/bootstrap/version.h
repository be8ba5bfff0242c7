// Version strings: dotted numeric fields, compared field by field.
//
// Owns: the order of versions and the search for the highest version directory. Leaves to others:
// where components lie (bootstrap).
//
// A field is optional blanks and a run of digits; "." and "," separate fields alike. Anything else
// is a tail of which only the first character counts.
#pragma once

#include <string>
#include <string_view>

inline constexpr const char* kLowestVersion = "0.0.0.0.0";
// Fields that tell two version directories apart.
inline constexpr int kVersionFields = 5;

// Reads `tx` as one field into `n`; blanks around it are allowed and a text without digits is 0.
// False, with `n` untouched, for anything else and for numbers over 2147483647.
bool kstxpe(std::string_view tx, int& n);

// Whether version `tx1` is lower than `tx2`, looking at no more than `dgts` numeric fields. A field
// too large for an int counts as the largest one. Null is lower than nothing.
bool kstxvl(const char* tx1, const char* tx2, int dgts);

// kstxvl with five fields.
bool IsVersionLessThan(const char* tx1, const char* tx2);

// `highestVersion` becomes the name of the highest version directory in directory `verLoc`, or
// "0.0.0.0.0" when there is none; it is returned as well. Of equal ones the first that the
// directory lists stays.
const std::string& findHighestVersion(std::string& highestVersion, const std::string& verLoc);

// The names of entries: which may be used, and how they are shown.
//
// Owns: the rules for a name that comes out of an archive. Leaves to others: what lies in the file
// system under such a name (destination).
#pragma once

#include <string>
#include <string_view>

// Why nothing may be unpacked under `name`, or null when something may: it would lead out of the
// directory to unpack into, here or on another system, or breaks up lines.
const char* unsafe_name(std::string_view name);

// `name` without empty pieces and those that are ".", and without slashes at its ends. Empty for
// the directory to unpack into.
std::string plain_name(std::string_view name);

// `name` with its control characters as ^A and the like, as it may be shown on a terminal.
std::string printable(std::string_view name);

// What unzip says on standard error.
//
// Owns: the one form of its messages, a line that names the program, the place and the reason, and
// that every one of them is said, however quiet the rest is to be. Leaves to others: the reasons,
// and what is listed on standard output.
#pragma once

#include <string>
#include <string_view>

// "unzip: WHERE: REASON"; control characters are shown as ^A and the like.
void complain_of(std::string_view where, std::string_view reason);

// "unzip: ARCHIVE: ENTRY: REASON".
void complain_of_entry(std::string_view archive, std::string_view entry, std::string_view reason);

// Version directories that the launcher's order ranks unlike a person would.
//
// Owns: the order that a person has in mind. Leaves to others: the launcher's own
// (bootstrap/version) and where versions lie (components).
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Below 0, 0 or above 0: how a person ranks two versions. Numbers count by their value however many
// there are, a missing one as 0, and words like "beta" stand below nothing at all.
int compare_as_person(std::string_view one, std::string_view other);

struct Contenders {
    std::vector<std::string> higher; // to a person
    std::vector<std::string> alike;  // to the launcher: the order of the directory decides
};

// The versions among `names` that might have been taken in place of `taken`.
Contenders contenders(const std::string& taken, const std::vector<std::string>& names);

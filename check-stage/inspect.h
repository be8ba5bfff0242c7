// The checks of one stage or home, one after the other.
//
// Owns: their order, and what a launch without arguments makes of the place. Leaves to others: each
// check.
#pragma once

#include <string>

// Checks `directory`, which exists, and reports what is wrong.
void inspect(const std::string& directory);

// The message catalogues beside the launcher.
//
// Owns: whether they are there, and their records against those of the launcher that this program
// was built with. Leaves to others: what a text may say (tools/catalogue_rules), how a launch loads
// them (nls/catalogue).
#pragma once

#include "inspection.h"

#include <string_view>
#include <vector>

void check_catalogues(const Inspection& inspection);

// The English catalogue as it was built, byte for byte, and the languages that were built with it.
std::string_view reference_catalogue();
const std::vector<std::string_view>& reference_languages();

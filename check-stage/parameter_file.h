// What is wrong with the lines of a parameter file, whatever its values mean.
//
// Owns: lines that have no effect or another one than they look like, keys and sections that no
// launcher reads. Leaves to others: the launcher's own values (setting_values), those of the checks
// (prerequisites), cutting the file into lines (parameter_lines).
#pragma once

#include "parameter_lines.h"

#include <string>
#include <vector>

// Reports what is wrong with the lines of `file`, which findings call `name`.
void check_parameter_lines(const ParameterLines& file, const std::string& name);

// Of `known` the one that `word` is most like, or an empty text when it is like none.
std::string nearest(std::string_view word, const std::vector<std::string>& known);

// Whether `section` belongs to the checks of a certified version.
bool is_version_section(std::string_view section);

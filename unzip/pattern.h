// Which archives an argument means.
//
// Owns: the wildcards, which the shell left alone, and the order of what fits them. Leaves to
// others: whether it is an archive.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Whether `argument` has one of * ? [ in it.
bool has_wildcard(std::string_view argument);

// The files that `argument` means, in the order of their names. Wildcards are looked for behind the
// last slash only, and pass over directories unless nothing else fits. What they do not fit, and a
// name without any, is a file of that very name, or with ".zip" behind it. Empty for none.
std::vector<std::string> archives_meant(const std::string& argument);

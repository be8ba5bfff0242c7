// What the Java installer would find on its class path.
//
// Owns: which entries of the class path are there, and whether the entry classes are in any of
// them. Leaves to others: the class path itself (installer_command, the launcher's own) and what
// arrives in the scratch directory (cargo).
#pragma once

#include "cargo.h"
#include "inspection.h"

#include <string>
#include <vector>

// The entries of the class path with these settings, empty ones left out. They are complete only
// once `settings` has the locations of after a bootstrap.
std::vector<std::string> class_path_entries(const Settings& settings);

// The name below `scratch` of a path in it; empty for any other path.
std::string name_in_scratch(const std::string& path, const std::string& scratch);

// Reports entry classes that are in no jar, jars that nothing brings and jars that cannot be read.
void check_class_path(const Inspection& inspection, const Settings& settings, const Cargo& cargo);

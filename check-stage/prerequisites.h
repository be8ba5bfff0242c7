// The prerequisite sections of the parameter file.
//
// Owns: certified versions against their sections, checks that are not run where they stand, values
// that a check cannot read. Leaves to others: unknown keys and the form of lines (parameter_file),
// the checks themselves (prereqchecks, the launcher's own).
#pragma once

#include "inspection.h"

void check_prerequisites(const Inspection& inspection);

// What is wrong with the values of the launcher's settings.
//
// Owns: flags, numbers, the mask, names with blanks, the number of disks, locations that lead
// nowhere. Leaves to others: the form of lines (parameter_file), components and class path.
#pragma once

#include "inspection.h"

void check_setting_values(const Inspection& inspection);

// The locations of what a launch copies, and of the runtime in the scratch directory. `after` are
// the settings as they are once everything has arrived.
void check_copied_locations(const Inspection& inspection, const Settings& after);

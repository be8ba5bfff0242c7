// What is wrong with the values of the launcher's settings.
//
// Owns: flags, numbers, the mask, names with blanks, the number of disks, the Java home that leads
// nowhere. Leaves to others: the form of lines (parameter_file), components and class path.
#pragma once

#include "inspection.h"

void check_setting_values(const Inspection& inspection);

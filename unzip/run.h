// One run of unzip: all archives that its command means.
//
// Owns: the order of the archives, what is said of each, and the status that comes of all. Leaves
// to others: the single archive (extraction, listing).
#pragma once

#include "unzip/command_line.h"

// Does what the command says; the result is the status of the program.
int run_unzip(const UnzipCommand& command);

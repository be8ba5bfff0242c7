// Listing an archive.
//
// Owns: the table of -l, which is that of the usual unzip. Leaves to others: reading the archive.
#pragma once

#include "unzip/archive.h"

// Prints the entries of the archive; more of `quiet` leaves out its name, then the headings.
void list_archive(const ZipArchive& archive, int quiet);

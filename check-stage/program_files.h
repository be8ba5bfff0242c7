// The programs of a stage or home: the launcher and the unpacker beside it.
//
// Owns: whether they are there, can be run, fit each other and run on a bare machine. Leaves to
// others: their format (elf), the Java runtime (runtime), the catalogues (catalogues).
#pragma once

#include "elf.h"
#include "places.h"

// Reports what is wrong with the launcher and, when a launch unpacks anything, with the unpacker.
// The launcher's own description comes back: everything else has to fit it.
ElfFile check_program_files(const Places& places, bool is_stage, bool unpacks);

// Reports a program that is for another machine or system than the launcher; `name` is how findings
// call it and `consequence` what comes of it.
void check_machine(const ElfFile& program, const ElfFile& launcher, const std::string& name,
                   const std::string& consequence);

// What a program file says of itself: for which machine and system it is, and what it needs.
//
// Owns: reading the header, the segments and the dynamic section of an ELF file, from bytes that
// may be anything. Leaves to others: what to make of it (program_files, runtime).
#pragma once

#include <string>
#include <string_view>
#include <vector>

struct ElfFile {
    bool is_elf = false;
    bool is_script = false;          // begins with #!
    bool broken = false;             // begins like an ELF file, but cannot be read to its end
    std::string machine;             // "x86-64", "SPARC" ...; "machine N" for rarer ones
    int bits = 0;                    // 32 or 64
    std::string system;              // "Linux", "Solaris", or empty when the file does not tell
    std::vector<std::string> needed; // shared libraries
};

// Reads `bytes`, a whole file or its beginning.
ElfFile read_elf(std::string_view bytes);

// "64-bit x86-64 for Linux".
std::string described(const ElfFile& file);

// Whether both can run on one system, as far as they tell.
bool fit_together(const ElfFile& one, const ElfFile& other);

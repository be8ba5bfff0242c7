// The entries of one PO file, each with the line on which it begins.
//
// Owns: that the file is sound PO in UTF-8 and that every entry in it is one that a catalogue can
// hold: a key as context, no plural, not fuzzy, not obsolete, no NUL byte, no key twice. Leaves to
// others: what the texts say (catalogue_rules), and the PO syntax itself, which is GNU gettext's.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct CatalogueEntry {
    std::string key;
    std::string english;
    std::string translated; // empty in the template
    std::size_t line = 0;
};

struct CatalogueFile {
    std::string path;
    std::vector<CatalogueEntry> entries; // in the order of the file, without the header
    std::size_t last_line = 0;
};

// Reads `path`. What is wrong with it is reported; the entries that were refused are left out.
CatalogueFile read_catalogue_po(const std::string& path);

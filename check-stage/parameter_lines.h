// The lines of a parameter file as the launcher's reader takes them, each with its number.
//
// Owns: cutting a file into lines like that reader, what each line is to a look-up, and which line
// decides a key. Leaves to others: the tokens of a line (base/profile, the launcher's own) and what
// is to be said about any of it (parameter_file).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

struct ParameterLine {
    enum class Kind {
        header, // ends a section; begins one when `section` is not empty
        entry,  //
        stop,   // no key can be taken from it: whoever looks a key up ends here
    };
    std::size_t number = 0; // from 1; of the line that its first character stands on
    Kind kind = Kind::entry;
    std::string text;    // as read, blanks of blank lines above in front
    std::string section; // of a header that a look-up can find
    std::string key;
    std::string value;      // what a look-up gives
    bool has_value = false; // false when a look-up gives the default
    [[nodiscard]] std::string_view
    unread() const; // what stands behind the key, its separator included
    std::size_t key_end = 0;
};

struct ParameterLines {
    std::vector<ParameterLine> lines;
    std::size_t ended_by_byte = 0;     // the line of a byte 255, or 0
    std::vector<std::size_t> with_nul; // lines that are cut at a NUL
};

ParameterLines cut_into_lines(std::string_view bytes);

// The line that decides key `key` of section `section`: the first one with that key, when a look-up
// gets there; null otherwise. An empty section stands for the lines above the first header.
const ParameterLine* deciding_line(const ParameterLines& file, std::string_view section,
                                   std::string_view key);

// The lines of `section` that an iteration over it reaches, entries only.
std::vector<const ParameterLine*> entries_of(const ParameterLines& file, std::string_view section);

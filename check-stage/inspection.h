// What the checks of one stage or home share.
#pragma once

#include "elf.h"
#include "parameter_lines.h"
#include "places.h"
#include "setupLauncher/settings.h"

#include <string>

struct Inspection {
    Places places;
    ParameterLines lines;       // of the parameter file
    std::string parameter_name; // how findings call it
    std::string parameter_copy; // its bytes, for the launcher's own reader
    Settings settings;          // as a launch without arguments reads them
    ElfFile launcher;
    bool is_stage = false;   // a launch takes it for a distribution
    bool bootstraps = false; // a launch brings the installer to a scratch directory

    // The line of a key of the launcher's section, or 0.
    [[nodiscard]] std::size_t line_of(std::string_view key) const {
        const ParameterLine* line = deciding_line(lines, kLauncherSection, key);
        return line == nullptr ? 0 : line->number;
    }
    // Whether that key has a value.
    [[nodiscard]] bool gives(std::string_view key) const {
        const ParameterLine* line = deciding_line(lines, kLauncherSection, key);
        return line != nullptr && line->has_value && !line->value.empty();
    }
};

// Stands for the scratch directory where no launch has named one.
inline constexpr const char* kSomeScratch = "/scratch";

// What a look-up in a parameter file gives: by the launcher's own reader, and as the lines of the
// file tell it. The unit tests and the fuzzer of check-stage hold one against the other.
#pragma once

#include "base/profile.h"
#include "parameter_lines.h"

#include <string>

// The value before the look-up; it stays when there is no such section.
inline constexpr const char* kUntouched = "untouched";
inline constexpr const char* kDefault = "default";

// What the launcher's reader gives of the file at `path`.
inline std::string looked_up(const std::string& path, const std::string& section,
                             const std::string& key) {
    std::string value = kUntouched;
    GenericGetPrivateProfileString(section.c_str(), key.c_str(), kDefault, value, 1024,
                                   path.c_str());
    return value;
}

// What the lines say that it gives.
inline std::string told(const ParameterLines& file, const std::string& section,
                        const std::string& key) {
    bool there = false;
    for (const ParameterLine& line : file.lines)
        there = there || (line.kind == ParameterLine::Kind::header && line.section == section);
    if (!there)
        return kUntouched;
    const ParameterLine* line = deciding_line(file, section, key);
    return line == nullptr || !line->has_value ? kDefault : line->value;
}

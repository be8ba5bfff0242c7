#include "setting_values.h"

#include "base/paths.h"
#include "base/text.h"
#include "findings.h"
#include "quiet_files.h"
#include "setupLauncher/decisions.h"

#include <algorithm>
#include <utility>

namespace {

// Options of the JVM stand in one value; blanks are what separates them.
constexpr std::string_view kKeysOfWords[] = {"JRE_MEMORY_OPTIONS", "JRE_BOOT_OPTIONS"};

std::string quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

std::string upper(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
    return result;
}

bool is_one_of(std::string_view text, std::initializer_list<std::string_view> words) {
    return std::find(words.begin(), words.end(), text) != words.end();
}

void check_flag(const LauncherKey& key, const ParameterLine& line, const std::string& name) {
    if (line.value.starts_with('T') || line.value.starts_with('F'))
        return;
    const bool meant = is_one_of(upper(line.value), {"T", "TRUE", "Y", "YES", "ON", "1"});
    report_warning(name, line.number,
                   std::string(key.name) + " is " + quoted(line.value) +
                       ", which does not begin with T and counts as FALSE: write " +
                       (meant ? "TRUE" : "TRUE or FALSE"));
}

void check_exact_flag(const LauncherKey& key, const ParameterLine& line, const std::string& name) {
    if (line.value == "TRUE" || is_one_of(upper(line.value), {"F", "FALSE", "N", "NO", "OFF", "0"}))
        return;
    report_warning(name, line.number,
                   std::string(key.name) + " is " + quoted(line.value) +
                       ", which counts as FALSE: only TRUE, in capitals, turns it on");
}

void check_number(const LauncherKey& key, const ParameterLine& line, const std::string& name) {
    std::string_view digits = line.value;
    if (digits.starts_with('-') || digits.starts_with('+'))
        digits.remove_prefix(1);
    if (!digits.empty() && std::all_of(digits.begin(), digits.end(), is_digit))
        return;
    report_warning(name, line.number,
                   std::string(key.name) + " is " + quoted(line.value) + ", which counts as " +
                       std::to_string(leading_whole_number<long>(line.value)) +
                       ": write a whole number and nothing else");
}

void check_blanks(const LauncherKey& key, const ParameterLine& line, const Inspection& inspection) {
    if (line.value.find_first_of(" \t") == std::string::npos ||
        std::find(std::begin(kKeysOfWords), std::end(kKeysOfWords), key.name) !=
            std::end(kKeysOfWords))
        return;
    // A directory may well be called so.
    if (PathExists(absolute_path(inspection.places, line.value)))
        return;
    report_warning(inspection.parameter_name, line.number,
                   std::string(key.name) + " is " + quoted(line.value) +
                       ": the blank stays in the value; remove it");
}

void check_bootstrap_size_range(const Inspection& inspection) {
    if (bootstrap_size(inspection.settings) || !inspection.bootstraps)
        return;
    const std::string text = "BOOTSTRAP_SIZE is out of range, and a launch brings nothing to its "
                             "scratch directory: write megabytes from 0 to " +
                             std::to_string(kLargestBootstrapSize);
    report_error(inspection.parameter_name, inspection.line_of("BOOTSTRAP_SIZE"), text);
}

void check_mask(const Inspection& inspection) {
    const ParameterLine* line = deciding_line(inspection.lines, kLauncherSection, kMaskKey);
    if (line == nullptr || !line->has_value || line->value.empty() || mask_of(line->value))
        return;
    report_warning(inspection.parameter_name, line->number,
                   "UMASK is " + quoted(line->value) +
                       ", and 007 is used instead: write three octal digits, such as 022");
}

void check_disks(const Inspection& inspection) {
    if (!inspection.is_stage)
        return;
    const std::size_t disks = inspection.places.disks;
    const bool many = is_on(inspection.settings.multiCD);
    if (many && disks < 2)
        report_warning(inspection.parameter_name, inspection.line_of("MULTICD"),
                       "MULTICD is T" +
                           std::string(inspection.gives("MULTICD") ? "" : " when it is not given") +
                           ", but the stage has one disk, and a launch from a mounted CD is "
                           "refused: write MULTICD=FALSE");
    if (!many && disks > 1)
        report_warning(inspection.parameter_name, inspection.line_of("MULTICD"),
                       "MULTICD is not T, but the stage has " + std::to_string(disks) +
                           " disks, and a launch from the first would keep it in its drive: write "
                           "MULTICD=TRUE");
}

} // namespace

void check_setting_values(const Inspection& inspection) {
    for (const LauncherKey& key : launcher_keys()) {
        const ParameterLine* line = deciding_line(inspection.lines, kLauncherSection, key.name);
        if (line == nullptr || !line->has_value || line->value.empty())
            continue;
        switch (key.form) {
        case ValueForm::flag:
            // With components there it is more than a flag, and has been spoken of.
            if (key.name != "DISTRIBUTION" || inspection.places.components.empty())
                check_flag(key, *line, inspection.parameter_name);
            break;
        case ValueForm::exact_flag:
            check_exact_flag(key, *line, inspection.parameter_name);
            break;
        case ValueForm::number:
            check_number(key, *line, inspection.parameter_name);
            break;
        case ValueForm::text:
            if (key.name != kMaskKey && key.name != "BOOTSTRAP_COMPS")
                check_blanks(key, *line, inspection);
            break;
        }
    }
    check_bootstrap_size_range(inspection);
    check_mask(inspection);
    check_disks(inspection);
}

void check_copied_locations(const Inspection& inspection, const Settings& after) {
    if (!inspection.bootstraps)
        return;
    const Settings& settings = inspection.settings;
    const std::pair<const char*, const std::string&> copied[] = {
        {"ACCESS_DIR", settings.access},
        {"PREREQ_CONFIG_LOCATION", settings.prereqConfigLoc},
        {"EXT_JLIB", settings.extJlibString},
        {"EXT_LIB", settings.extLibString},
        {"EXT_BIN", settings.extBinString}};
    for (const auto& [key, location] : copied) {
        if (inspection.gives(key) && kind_of(location) == FileKind::missing)
            report_warning(inspection.parameter_name, inspection.line_of(key),
                           std::string(key) + " leads nowhere, and a launch copies nothing from " +
                               location + ": correct it, or remove the line");
    }
    if (inspection.gives("JRE_SCRATCH_LOC") && after.jreDirLoc != after.jreFullLoc)
        report_warning(inspection.parameter_name, inspection.line_of("JRE_SCRATCH_LOC"),
                       "JRE_SCRATCH_LOC has no effect: nothing lies there in the scratch directory "
                       "when the runtime is looked for; list the component that brings it in "
                       "BOOTSTRAP_COMPS, or remove the line");
}

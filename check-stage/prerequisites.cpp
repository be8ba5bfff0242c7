#include "prerequisites.h"

#include "base/paths.h"
#include "base/text.h"
#include "findings.h"
#include "parameter_file.h"
#include "prereqchecks/prereq_driver.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <set>

namespace {

// What the check of patches takes for a number and a revision.
constexpr std::size_t kLongestPatchNumber = 19;
constexpr std::size_t kLongestRevision = 9;

std::string quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

std::string in_brackets(std::string_view section) {
    return "[" + std::string(section) + "]";
}

bool are_digits(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), is_digit);
}

// In base 10, or as C reads one in base 16.
bool is_decimal_number(std::string_view text) {
    const bool base_16 = text.starts_with("0x") || text.starts_with("0X");
    text.remove_prefix(base_16 ? 2 : 0);
    double number = 0;
    const auto result =
        std::from_chars(text.data(), text.data() + text.size(), number,
                        base_16 ? std::chars_format::hex : std::chars_format::general);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

struct Warn {
    const Inspection& inspection;
    const ParameterLine& line;

    void operator()(const std::string& text) const {
        report_warning(inspection.parameter_name, line.number,
                       line.key + " is " + quoted(line.value) + text);
    }
};

void check_number(const Warn& warn, bool whole, const char* when_not_above_zero) {
    const std::string& value = warn.line.value;
    const double number = leading_decimal_number(value);
    if (whole ? !are_digits(value) : !is_decimal_number(value))
        warn(", of which the check reads only the number at its start: write " +
             std::string(whole ? "a whole number" : "a number") + " and nothing else");
    else if (!(number > 0))
        warn(std::string(", with which the check ") + when_not_above_zero +
             ": write a number above 0, or remove the line");
}

void check_blanks_of_items(const Warn& warn) {
    for (const std::string& item : split(warn.line.value, ",")) {
        if (trimmed(item) != item) {
            warn(": the blank belongs to the item " + quoted(item) +
                 ", which then fits nothing; remove it");
            return;
        }
    }
}

void check_patches(const Warn& warn) {
    for (const std::string& item : split(warn.line.value, ",")) {
        const std::size_t hyphen = std::min(item.find('-'), item.size());
        const std::string_view number = std::string_view(item).substr(0, hyphen);
        const std::string_view revision =
            std::string_view(item).substr(std::min(hyphen + 1, item.size()));
        if (!are_digits(number) || !are_digits(revision) || number.size() > kLongestPatchNumber ||
            revision.size() > kLongestRevision) {
            warn(": " + quoted(item) +
                 " is no patch id, and the check fails; write NUMBER-REVISION, "
                 "such as 112233-05");
            return;
        }
    }
}

void check_packages(const Warn& warn) {
    for (const std::string& item : split(warn.line.value, ",")) {
        const std::string name(trimmed(item));
        if (shell_word(name) != name || name.find(' ') != std::string::npos) {
            warn(": " + quoted(item) + " has characters that no package's name has; correct it");
            return;
        }
    }
}

void check_value(const Warn& warn) {
    const std::string& key = warn.line.key;
    if (key == "TEMP_SPACE")
        check_number(warn, false, "always passes");
    else if (key == "SWAP_SPACE" || key == "MIN_DISPLAY_COLORS")
        check_number(warn, false, "always fails");
    else if (key == "CPU")
        check_number(warn, true, "always fails");
    else if (key == "PROCESSOR")
        check_blanks_of_items(warn);
    else if (key == "PATCHES")
        check_patches(warn);
    else if (key == "PACKAGES")
        check_packages(warn);
    else if (key == kListPatchesKey && !warn.line.value.starts_with('T') &&
             !warn.line.value.starts_with('F'))
        warn(", which does not begin with F and counts as TRUE: write TRUE or FALSE");
}

bool is_failure_key(std::string_view key) {
    const std::vector<PrereqCheck> checks = prereq_checks();
    return std::any_of(checks.begin(), checks.end(),
                       [&](const PrereqCheck& check) { return key == check.failure_key; });
}

void check_section(const Inspection& inspection, const std::string& section) {
    const bool generic = section == kGenericSection;
    for (const ParameterLine* line : entries_of(inspection.lines, section)) {
        if (deciding_line(inspection.lines, section, line->key) != line)
            continue;
        if (generic && (is_failure_key(line->key) || line->key == kListPatchesKey)) {
            report_warning(inspection.parameter_name, line->number,
                           line->key + " is not read in " + in_brackets(section) +
                               ": the checks of that section have no text of their own; remove it");
            continue;
        }
        for (const PrereqCheck& check : prereq_checks()) {
            if (!generic && check.generic_only && line->key == check.key)
                report_warning(inspection.parameter_name, line->number,
                               line->key + " is not checked in " + in_brackets(section) +
                                   ": move it to " + in_brackets(kGenericSection));
        }
        if (line->has_value && !line->value.empty())
            check_value({inspection, *line});
    }
}

// The version in the name of a version's section.
std::string version_of(std::string section) {
    section.erase(0, std::string_view(kPlatform).size() + 1);
    const std::string_view suffix =
        section.ends_with(kRequiredSuffix) ? kRequiredSuffix : kOptionalSuffix;
    return section.substr(0, section.size() - suffix.size());
}

void check_certified_warning(const Inspection& inspection) {
    const ParameterLine* line =
        deciding_line(inspection.lines, kCertifiedSection, "CERTIFIED_VERSION_WARN");
    if (line == nullptr || !line->has_value || line->value.empty() || line->value == "TRUE")
        return;
    const char first = line->value.front();
    if (first == 'F' || first == 'f' || first == 'N' || first == 'n' || first == '0')
        return;
    Warn{inspection, *line}(", which counts as FALSE: only TRUE, in capitals, makes an uncertified "
                            "version a warning");
}

} // namespace

void check_prerequisites(const Inspection& inspection) {
    const ParameterLine* certified = deciding_line(inspection.lines, kCertifiedSection, kPlatform);
    std::vector<std::string> versions;
    if (certified != nullptr && certified->has_value) {
        versions = split(certified->value, ",");
        check_blanks_of_items({inspection, *certified});
        for (std::string& version : versions)
            version = trimmed(version);
    }
    check_certified_warning(inspection);

    std::set<std::string> with_section;
    std::map<std::string, std::size_t> sections; // only the first of a name is read
    for (const ParameterLine& line : inspection.lines.lines) {
        if (line.kind == ParameterLine::Kind::header &&
            (line.section == kGenericSection || is_version_section(line.section)))
            sections.try_emplace(line.section, line.number);
    }
    const ParameterLine* platform_checks =
        deciding_line(inspection.lines, kLauncherSection, "PLATFORM_PREREQS");
    const bool on = platform_checks != nullptr && platform_checks->has_value &&
                    platform_checks->value.starts_with('T');
    std::size_t first_version_section = 0;
    for (const auto& [section, number] : sections) {
        check_section(inspection, section);
        if (section == kGenericSection)
            continue;
        first_version_section =
            first_version_section == 0 ? number : std::min(first_version_section, number);
        with_section.insert(version_of(section));
        if (std::find(versions.begin(), versions.end(), version_of(section)) == versions.end())
            report_warning(inspection.parameter_name, number,
                           "no certified version names " + in_brackets(section) +
                               ", and it is not read: add " + version_of(section) + " to " +
                               kPlatform + " in " + in_brackets(kCertifiedSection));
    }
    for (const std::string& version : versions) {
        if (!with_section.contains(version))
            report_note(inspection.parameter_name, certified->number,
                        "the certified version " + version + " has no section " +
                            in_brackets(std::string(kPlatform) + "-" + version + kRequiredSuffix) +
                            ", and nothing is checked for it");
    }
    const std::size_t without_effect =
        certified != nullptr ? certified->number : first_version_section;
    if (!on && without_effect != 0)
        report_warning(inspection.parameter_name, without_effect,
                       "certified versions and their sections are read only with "
                       "PLATFORM_PREREQS=TRUE in " +
                           in_brackets(kLauncherSection) + ": write it");
}

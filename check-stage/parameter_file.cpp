#include "parameter_file.h"

#include "base/text.h"
#include "findings.h"
#include "prereqchecks/prereq_driver.h"
#include "setupLauncher/settings.h"

#include <algorithm>
#include <map>

namespace {

// A mistyped word differs in no more characters than this, and in no more than a third of them.
constexpr std::size_t kMostMistypes = 3;

// There is no comment in this format; but such a line has no effect and is not meant to have one.
bool is_comment(const ParameterLine& line) {
    return line.key.starts_with('#') || line.key.starts_with(';') || line.key.starts_with("//");
}

const std::vector<std::string>& launcher_key_names() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (const LauncherKey& key : launcher_keys())
            all.emplace_back(key.name);
        return all;
    }();
    return names;
}

const std::vector<std::string>& check_key_names() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all{kListPatchesKey};
        for (const PrereqCheck& check : prereq_checks()) {
            all.emplace_back(check.key);
            all.emplace_back(check.failure_key);
        }
        return all;
    }();
    return names;
}

const std::vector<std::string>& certified_key_names() {
    static const std::vector<std::string> names(std::begin(kCertifiedKeys),
                                                std::end(kCertifiedKeys));
    return names;
}

// The keys that are read in `section`; null for a section that no launcher reads.
const std::vector<std::string>* keys_of(std::string_view section) {
    if (section == kLauncherSection)
        return &launcher_key_names();
    if (section == kCertifiedSection)
        return &certified_key_names();
    return section == kGenericSection || is_version_section(section) ? &check_key_names() : nullptr;
}

bool contains(const std::vector<std::string>& words, std::string_view word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// How many characters have to be changed, added or taken away to make one word of the other.
std::size_t distance(std::string_view one, std::string_view other) {
    std::vector<std::size_t> row(other.size() + 1);
    for (std::size_t i = 0; i < row.size(); ++i)
        row[i] = i;
    for (std::size_t i = 0; i < one.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < other.size(); ++j) {
            const std::size_t changed = diagonal + (lower(one[i]) == lower(other[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

std::string in_brackets(std::string_view section) {
    return "[" + std::string(section) + "]";
}

// The section in which the key would be read, or an empty text.
std::string section_that_reads(std::string_view key) {
    if (contains(launcher_key_names(), key))
        return in_brackets(kLauncherSection);
    if (contains(certified_key_names(), key))
        return in_brackets(kCertifiedSection);
    if (contains(check_key_names(), key))
        return in_brackets(kGenericSection) + " or a version's sections";
    return "";
}

// What is wrong with how the value of `line` is written, or an empty text.
std::string problem_of_value(const ParameterLine& line) {
    std::string_view rest = line.unread();
    const std::string_view behind = trimmed(rest);
    if (!rest.empty() && is_white_space(rest.front()) && behind.starts_with('='))
        return "the blank before \"=\" makes the value unusable, and the key counts as not given: "
               "remove the blank";
    if (line.text.find_first_not_of(" \t\v\f\r") != std::string::npos &&
        line.text[line.text.find_first_not_of(" \t\v\f\r")] == '"' && behind.starts_with('='))
        return "the quotes around the key make the value unusable, and the key counts as not "
               "given: "
               "remove them";
    if (!rest.empty())
        rest.remove_prefix(1);
    rest = trimmed(rest);
    if (rest.starts_with('='))
        return "the value begins with \"=\" and is unusable, and the key counts as not given: "
               "write "
               "one \"=\", or the value in double quotes";
    if (rest.starts_with('"')) {
        const std::size_t end = rest.find('"', 1);
        if (end == std::string_view::npos)
            return "the value's closing quote is missing, and the key counts as not given: add it";
        if (!trimmed(rest.substr(end + 1)).empty())
            return "what stands behind the closing quote is not read: write the whole value in one "
                   "pair of double quotes";
        return "";
    }
    if (rest.find('=') != std::string_view::npos)
        return R"(the value ends before its "=", it is read as ")" + line.value +
               "\": write the whole value in double quotes";
    if (line.value.find('"') != std::string::npos)
        return "the double quotes stay in the value: only quotes around the whole value are taken "
               "off";
    return "";
}

void report_unknown_key(const ParameterLine& line, std::string_view section,
                        const std::vector<std::string>& known, const std::string& name) {
    std::string text = "no launcher reads the key " + line.key;
    const std::string elsewhere = section_that_reads(line.key);
    const std::string like = nearest(line.key, known);
    if (!elsewhere.empty())
        text += " in " + in_brackets(section) + ": it belongs in " + elsewhere;
    else if (!like.empty())
        text += ": did you mean " + like + "?";
    else
        text += ": remove it, or begin the line with #";
    report_warning(name, line.number, text);
}

void report_header(const ParameterLine& line, const std::string& name) {
    if (line.section.empty()) {
        std::string_view text = trimmed(line.text);
        const std::string_view inside = trimmed(text.substr(1, text.find(']') - 1));
        const std::string wanted = keys_of(inside) != nullptr ? in_brackets(inside) : "[Section]";
        report_warning(name, line.number,
                       "no launcher finds this section: " + wanted +
                           " has to stand alone in its line, from its first column on, without a "
                           "line of blanks above it");
        return;
    }
    if (keys_of(line.section) != nullptr)
        return;
    const std::string_view bare = trimmed(line.section);
    std::string like = nearest(bare, {kLauncherSection, kCertifiedSection, kGenericSection});
    report_warning(
        name, line.number,
        "no launcher reads the section " + in_brackets(line.section) +
            (like.empty() ? ": remove it" : ": did you mean " + in_brackets(like) + "?"));
}

void report_stop(const ParameterLine& line, std::string_view section, std::size_t lost,
                 const std::string& name) {
    const std::string_view text = trimmed(line.text);
    const std::string what = text.starts_with('=')   ? "a line that begins with \"=\""
                             : text.starts_with('"') ? "a line whose closing quote is missing"
                                                     : "a line that begins with the byte 0";
    report_warning(name, line.number,
                   what + " ends the section " + in_brackets(section) + " for every look-up: " +
                       (lost == 0 ? ""
                                  : counted(lost, "key") + " below it " +
                                        (lost == 1 ? "is" : "are") + " not read; ") +
                       "remove the line");
}

// The entries between line `at` and the next header, comments left out.
std::size_t entries_behind(const ParameterLines& file, std::size_t at) {
    std::size_t count = 0;
    for (++at; at < file.lines.size() && file.lines[at].kind != ParameterLine::Kind::header; ++at) {
        if (file.lines[at].kind == ParameterLine::Kind::entry && !is_comment(file.lines[at]))
            ++count;
    }
    return count;
}

// Where the reading stands.
struct Reading {
    const std::string& name;
    std::string_view section = {};
    const std::vector<std::string>* known = nullptr; // the keys of the section
    bool read = false;                               // whether look-ups get to the line
    bool at_top = true;
    std::map<std::string, std::size_t, std::less<>> sections = {}; // by their first lines
    std::map<std::string, std::size_t, std::less<>> keys = {};
};

void enter_section(Reading& reading, const ParameterLine& line) {
    reading.at_top = false;
    reading.section = line.section;
    reading.known = line.section.empty() ? nullptr : keys_of(line.section);
    reading.keys.clear();
    report_header(line, reading.name);
    const auto [first, is_new] = reading.sections.try_emplace(line.section, line.number);
    reading.read = reading.known != nullptr && is_new;
    if (reading.known != nullptr && !is_new)
        report_warning(reading.name, line.number,
                       "the section " + in_brackets(line.section) + " is there already in line " +
                           std::to_string(first->second) +
                           ", and only that one is read: move its keys there");
}

void report_above_sections(const ParameterLine& line, const std::string& name) {
    if (line.kind == ParameterLine::Kind::entry && !is_comment(line))
        report_warning(name, line.number,
                       "the key " + line.key +
                           " stands above the first section and is not read: move it into its "
                           "section");
}

void check_entry(Reading& reading, const ParameterLine& line) {
    if (line.key.starts_with('[')) {
        report_warning(reading.name, line.number,
                       "this is no section but a key of " + in_brackets(reading.section) +
                           ": a section's name ends with \"]\" in its line");
        return;
    }
    if (!contains(*reading.known, line.key)) {
        report_unknown_key(line, reading.section, *reading.known, reading.name);
        return;
    }
    const auto [first, is_new] = reading.keys.try_emplace(line.key, line.number);
    if (!is_new) {
        report_warning(reading.name, line.number,
                       "the key " + line.key + " is given already in line " +
                           std::to_string(first->second) + ", which alone counts: remove one");
        return;
    }
    const std::string problem = problem_of_value(line);
    if (!problem.empty())
        report_warning(reading.name, line.number, line.key + ": " + problem);
}

} // namespace

bool is_version_section(std::string_view section) {
    return section.starts_with(std::string(kPlatform) + "-") &&
           (section.ends_with(kRequiredSuffix) || section.ends_with(kOptionalSuffix));
}

std::string nearest(std::string_view word, const std::vector<std::string>& known) {
    std::string best;
    std::size_t least = std::min(kMostMistypes, word.size() / 3) + 1;
    for (const std::string& candidate : known) {
        // Longer differences need no counting; a key may be as long as a whole file.
        if (candidate.size() > word.size() + kMostMistypes ||
            word.size() > candidate.size() + kMostMistypes)
            continue;
        const std::size_t away = distance(word, candidate);
        if (away < least) {
            least = away;
            best = candidate;
        }
    }
    return best;
}

void check_parameter_lines(const ParameterLines& file, const std::string& name) {
    if (file.ended_by_byte != 0)
        report_warning(name, file.ended_by_byte,
                       "the byte 255 ends the file for every launcher: nothing behind it is read; "
                       "write the file in ASCII or UTF-8");
    for (const std::size_t number : file.with_nul)
        report_warning(name, number, "a byte 0 ends this line: what stands behind it is not read");

    Reading reading{name};
    // Where the settings' own section is missing, that is the one thing to say.
    const bool has_settings =
        std::any_of(file.lines.begin(), file.lines.end(),
                    [](const ParameterLine& line) { return line.section == kLauncherSection; });
    for (std::size_t at = 0; at < file.lines.size(); ++at) {
        const ParameterLine& line = file.lines[at];
        if (line.kind == ParameterLine::Kind::header)
            enter_section(reading, line);
        else if (reading.at_top && has_settings)
            report_above_sections(line, name);
        else if (reading.read && line.kind == ParameterLine::Kind::stop) {
            report_stop(line, reading.section, entries_behind(file, at), name);
            reading.read = false;
        } else if (reading.read && !is_comment(line)) {
            check_entry(reading, line);
        }
    }
}

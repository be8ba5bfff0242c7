#include "findings.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <tuple>
#include <vector>

namespace {

enum class Grade { error, warning, note };
constexpr const char* kGradeNames[] = {"error", "warning", "note"};

struct Finding {
    Grade grade;
    std::string file;
    std::size_t line;
    std::string text;

    bool operator==(const Finding&) const = default;
};

std::vector<Finding> findings;

void add(Grade grade, const std::string& file, std::size_t line, const std::string& text) {
    findings.push_back({grade, file, line, text});
}

std::size_t count_of(Grade grade) {
    return static_cast<std::size_t>(
        std::count_if(findings.begin(), findings.end(),
                      [grade](const Finding& finding) { return finding.grade == grade; }));
}

bool continues(char c) {
    return (static_cast<unsigned char>(c) & 0xc0U) == 0x80U;
}

// The length of the UTF-8 character at the start of `text`, 0 when there is none.
std::size_t character_length(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    const std::size_t length = first < 0x80   ? 1
                               : first < 0xc2 ? 0
                               : first < 0xe0 ? 2
                               : first < 0xf0 ? 3
                               : first < 0xf5 ? 4
                                              : 0;
    if (length == 0 || length > text.size())
        return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if (!continues(text[i]))
            return 0;
    }
    if (length < 3)
        return length;
    const auto second = static_cast<unsigned char>(text[1]);
    const bool overlong = (first == 0xe0 && second < 0xa0) || (first == 0xf0 && second < 0x90);
    const bool no_character =
        (first == 0xed && second >= 0xa0) || (first == 0xf4 && second >= 0x90);
    return overlong || no_character ? 0 : length;
}

std::string in_hexadecimal(char c) {
    std::array<char, 5> text{};
    std::snprintf(text.data(), text.size(), "\\x%02x", static_cast<unsigned char>(c));
    return text.data();
}

} // namespace

void report_error(const std::string& file, std::size_t line, const std::string& text) {
    add(Grade::error, file, line, text);
}

void report_warning(const std::string& file, std::size_t line, const std::string& text) {
    add(Grade::warning, file, line, text);
}

void report_note(const std::string& file, std::size_t line, const std::string& text) {
    add(Grade::note, file, line, text);
}

std::string escaped(std::string_view text, bool is_file) {
    std::string result;
    while (!text.empty()) {
        const char c = text.front();
        const std::size_t length = character_length(text);
        // The controls behind ASCII are two bytes from 0xc2 0x80 to 0xc2 0x9f.
        const bool control =
            static_cast<unsigned char>(c) < ' ' || c == '\x7f' ||
            (length == 2 && c == '\xc2' && static_cast<unsigned char>(text[1]) < 0xa0);
        if (c == '\n')
            result += "\\n";
        else if (c == '\t')
            result += "\\t";
        else if (c == '\\')
            result += "\\\\";
        else if (control || length == 0 || (is_file && c == ':'))
            result += in_hexadecimal(c);
        else
            result += text.substr(0, length);
        text.remove_prefix(control || length == 0 ? 1 : length);
    }
    return result;
}

std::string counted(std::size_t number, std::string_view noun) {
    return std::to_string(number).append(" ").append(noun).append(number == 1 ? "" : "s");
}

void print_findings() {
    std::stable_sort(findings.begin(), findings.end(),
                     [](const Finding& one, const Finding& other) {
                         return std::tie(one.grade, one.file, one.line) <
                                std::tie(other.grade, other.file, other.line);
                     });
    findings.erase(std::unique(findings.begin(), findings.end()), findings.end());
    for (const Finding& finding : findings) {
        std::string line = escaped(finding.file, true);
        if (finding.line != kNoLine)
            line += ":" + std::to_string(finding.line);
        line.append(": ").append(kGradeNames[static_cast<int>(finding.grade)]).append(": ");
        line += escaped(finding.text) + "\n";
        std::fwrite(line.data(), 1, line.size(), stdout);
    }
    std::printf("%s, %s, %s\n", counted(count_of(Grade::error), "error").c_str(),
                counted(count_of(Grade::warning), "warning").c_str(),
                counted(count_of(Grade::note), "note").c_str());
}

std::size_t error_count() {
    return count_of(Grade::error);
}

void forget_findings() {
    findings.clear();
}

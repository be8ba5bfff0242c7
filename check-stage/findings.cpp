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
    constexpr unsigned mark = 0x80; // of a byte that continues a character, in its upper two bits
    constexpr unsigned upper_bits = 0xc0;
    return (static_cast<unsigned char>(c) & upper_bits) == mark;
}

// The first bytes of UTF-8 characters, and what may follow them at once.
struct FirstBytes {
    unsigned char from;
    unsigned char to;
    std::size_t length;
    unsigned char second_from;
    unsigned char second_to;
};
constexpr FirstBytes kFirstBytes[] = {
    {0x00, 0x7f, 1, 0, 0},       {0xc2, 0xdf, 2, 0x80, 0xbf}, {0xe0, 0xe0, 3, 0xa0, 0xbf},
    {0xe1, 0xec, 3, 0x80, 0xbf}, {0xed, 0xed, 3, 0x80, 0x9f}, {0xee, 0xef, 3, 0x80, 0xbf},
    {0xf0, 0xf0, 4, 0x90, 0xbf}, {0xf1, 0xf3, 4, 0x80, 0xbf}, {0xf4, 0xf4, 4, 0x80, 0x8f},
};

// The length of the UTF-8 character at the start of `text`, 0 when there is none.
std::size_t character_length(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    for (const FirstBytes& row : kFirstBytes) {
        if (first < row.from || first > row.to)
            continue;
        if (row.length == 1)
            return 1;
        const auto second = static_cast<unsigned char>(text.size() < row.length ? 0 : text[1]);
        if (second < row.second_from || second > row.second_to)
            return 0;
        const std::string_view rest = text.substr(2, row.length - 2);
        return std::all_of(rest.begin(), rest.end(), continues) ? row.length : 0;
    }
    return 0;
}

std::string in_hexadecimal(char c) {
    constexpr std::size_t size = sizeof "\\xff";
    std::array<char, size> text{};
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

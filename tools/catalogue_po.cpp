#include "catalogue_po.h"

#include "catalogue_problems.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <gettext-po.h>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string_view>
#include <strings.h>
#include <type_traits>

// A question of the leak checker, in builds that have one: the library keeps some of what it reads.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the leak checker's name
extern "C" int __lsan_is_turned_off();
extern "C" int __lsan_is_turned_off() {
    return 1;
}

namespace {

std::string file_being_read; // for what the library says without a place

// What the library does not tell about an entry: where it begins, and whether one of its strings
// holds a NUL byte, at which the library silently ends the string.
struct EntryPlace {
    std::size_t line = 0;
    std::size_t nul_line = 0;
};

struct Places {
    std::vector<EntryPlace> entries; // the header is one of them
    std::size_t last_line = 0;
};

bool starts_keyword(std::string_view line, std::string_view keyword) {
    if (!line.starts_with(keyword))
        return false;
    const char next = line.size() > keyword.size() ? line[keyword.size()] : '\0';
    return next == '\0' || next == '"' || next == ' ' || next == '\t';
}

constexpr int kNoDigit = 99; // in no base

int digit_value(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return kNoDigit;
}

// The byte that "\" and up to `most` digits from `at` on stand for; the value wraps as a byte does.
bool escape_is_nul(std::string_view line, std::size_t at, int base, std::size_t most) {
    unsigned value = 0;
    std::size_t digits = 0;
    for (; digits < most && at < line.size() && digit_value(line[at]) < base; ++at, ++digits)
        value =
            (value * static_cast<unsigned>(base) + static_cast<unsigned>(digit_value(line[at]))) &
            0xffU;
    return digits > 0 && value == 0;
}

bool holds_nul(std::string_view line) {
    if (line.find('\0') != std::string_view::npos)
        return true;
    for (std::size_t at = 0; at + 1 < line.size(); ++at) {
        if (line[at] != '\\')
            continue;
        ++at; // also steps over the second half of an escaped backslash
        if (line[at] == 'x' ? escape_is_nul(line, at + 1, 16, line.size())
                            : escape_is_nul(line, at, 8, 3))
            return true;
    }
    return false;
}

Places find_places(const std::string& content) {
    Places places;
    bool after_context = false;
    std::istringstream lines(content);
    for (std::string raw; std::getline(lines, raw);) {
        ++places.last_line;
        std::string_view line = raw;
        if (line.starts_with("#~"))
            line.remove_prefix(2);
        line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
        if (line.starts_with('#') || line.starts_with('|'))
            continue;
        const bool context = starts_keyword(line, "msgctxt");
        if (context || (starts_keyword(line, "msgid") && !after_context))
            places.entries.push_back({places.last_line, 0});
        if (context || line.starts_with("msg"))
            after_context = context;
        if (!places.entries.empty() && places.entries.back().nul_line == 0 && holds_nul(line))
            places.entries.back().nul_line = places.last_line;
    }
    return places;
}

std::string_view text_or_empty(const char* text) {
    return text == nullptr ? std::string_view() : std::string_view(text);
}

// Warnings count like errors: what gettext is not sure about does not go into a catalogue.
void report_from_library(int severity, po_message_t message, const char* filename, std::size_t line,
                         const char* text) {
    std::string said(text_or_empty(text));
    while (said.ends_with('\n'))
        said.pop_back();
    std::replace(said.begin(), said.end(), '\n', ' '); // a report is one line
    const bool has_line = filename != nullptr && line != static_cast<std::size_t>(-1);
    const auto key = message == nullptr ? "" : text_or_empty(po_message_msgctxt(message));
    report_problem(filename == nullptr ? file_being_read : filename, has_line ? line : 0, key,
                   said);
    if (severity == PO_SEVERITY_FATAL_ERROR)
        give_up(); // the library forbids a return from here
}

extern "C" void on_problem(int severity, po_message_t message, const char* filename,
                           std::size_t line, std::size_t /*column*/, int /*multiline*/,
                           const char* text) {
    report_from_library(severity, message, filename, line, text);
}

// Two places: the second is the earlier entry, which alone is at hand as a message.
extern "C" void on_double_problem(int severity, po_message_t message, const char* filename,
                                  std::size_t line, std::size_t /*column*/, int /*multiline*/,
                                  const char* text, po_message_t earlier, const char* /*filename2*/,
                                  std::size_t /*line2*/, std::size_t /*column2*/,
                                  int /*multiline2*/, const char* /*text2*/) {
    report_from_library(severity, message == nullptr ? earlier : message, filename, line, text);
}

struct FreeFile {
    void operator()(po_file_t file) const {
        po_file_free(file);
    }
};
struct FreeIterator {
    void operator()(po_message_iterator_t iterator) const {
        po_message_iterator_free(iterator);
    }
};
using FileHandle = std::unique_ptr<std::remove_pointer_t<po_file_t>, FreeFile>;
using IteratorHandle = std::unique_ptr<std::remove_pointer_t<po_message_iterator_t>, FreeIterator>;

// Nothing, and errno, when the file cannot be read to its end.
std::optional<std::string> read_whole(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr)
        return std::nullopt;
    std::string content;
    char piece[4096];
    while (const std::size_t size = std::fread(piece, 1, sizeof piece, file))
        content.append(piece, size);
    const int error = std::ferror(file) != 0 ? errno : 0;
    static_cast<void>(std::fclose(file)); // only read
    if (error == 0)
        return content;
    errno = error;
    return std::nullopt;
}

bool header_says_utf8(std::string_view header) {
    constexpr std::string_view field = "charset=";
    const std::size_t at = header.find(field);
    if (at == std::string_view::npos)
        return false;
    header.remove_prefix(at + field.size());
    const std::string charset(header.substr(0, header.find_first_of(" \t\n;")));
    return strcasecmp(charset.c_str(), "UTF-8") == 0;
}

bool only_default_domain(po_file_t file) {
    const char* const* domains = po_file_domains(file);
    return domains[0] == nullptr ||
           (std::strcmp(domains[0], "messages") == 0 && domains[1] == nullptr);
}

std::vector<po_message_t> all_messages(po_file_t file) {
    const IteratorHandle iterator(po_message_iterator(file, nullptr));
    std::vector<po_message_t> messages;
    while (po_message_t message = po_next_message(iterator.get()))
        messages.push_back(message);
    return messages;
}

bool is_header(po_message_t message) {
    return po_message_msgctxt(message) == nullptr && *po_message_msgid(message) == '\0';
}

// Why no catalogue can hold this entry; empty when one can.
std::string why_refused(po_message_t message, const EntryPlace& place) {
    if (po_message_is_obsolete(message) != 0)
        return "the entry is obsolete";
    if (po_message_msgctxt(message) == nullptr)
        return "the entry has no context, which would be its key";
    const std::string_view key = po_message_msgctxt(message);
    if (key.empty())
        return "the key is empty";
    if (key.find('=') != std::string_view::npos)
        return "the key contains \"=\"";
    if (po_message_msgid_plural(message) != nullptr)
        return "the entry has a plural form";
    if (po_message_is_fuzzy(message) != 0)
        return "the entry is marked fuzzy";
    if (place.nul_line != 0)
        return "a text contains a NUL byte (line " + std::to_string(place.nul_line) + ")";
    return "";
}

} // namespace

CatalogueFile read_catalogue_po(const std::string& path) {
    CatalogueFile result;
    result.path = path;
    file_being_read = path;
    const std::size_t problems_before = problem_count();

    const auto content = read_whole(path);
    const po_xerror_handler handler = {on_problem, on_double_problem};
    const FileHandle file(content ? po_file_read(path.c_str(), &handler) : nullptr);
    if (!file) {
        report_problem(path, 0, "", std::string("cannot be read: ") + std::strerror(errno));
        return result;
    }
    if (problem_count() != problems_before)
        return result;
    if (!header_says_utf8(text_or_empty(po_file_domain_header(file.get(), nullptr)))) {
        report_problem(path, 1, "", "the header does not say charset=UTF-8");
        return result;
    }

    const Places places = find_places(*content);
    const auto messages = all_messages(file.get());
    result.last_line = places.last_line;
    if (!only_default_domain(file.get()) || messages.size() != places.entries.size()) {
        report_problem(path, 1, "",
                       "only plain entries can be compiled: no domains, and each of msgctxt, "
                       "msgid and msgstr on a line of its own");
        return result;
    }

    std::map<std::string, std::size_t, std::less<>> first_lines;
    for (std::size_t index = 0; index < messages.size(); ++index) {
        po_message_t message = messages[index];
        const EntryPlace& place = places.entries[index];
        if (is_header(message))
            continue;
        const std::string key(text_or_empty(po_message_msgctxt(message)));
        std::string refusal = why_refused(message, place);
        if (refusal.empty()) {
            const auto [first, is_new] = first_lines.try_emplace(key, place.line);
            if (!is_new)
                refusal =
                    "the key is repeated; line " + std::to_string(first->second) + " has it first";
        }
        if (!refusal.empty()) {
            report_problem(path, place.line, key, refusal);
            continue;
        }
        result.entries.push_back(
            {key, po_message_msgid(message), po_message_msgstr(message), place.line});
    }
    return result;
}

#include "bootstrap/version.h"

#include "base/directory.h"
#include "base/paths.h"
#include "base/text.h"

#include <limits>

namespace {

constexpr int kLargestField = std::numeric_limits<int>::max();

// A position in a version; past the end it reads as the NUL that ends a text.
struct Cursor {
    std::string_view text;
    std::size_t at = 0;

    [[nodiscard]] char current() const {
        return at < text.size() ? text[at] : '\0';
    }
    [[nodiscard]] bool at_end() const {
        return at >= text.size();
    }
};

// Steps over blanks and returns the digits that follow, stepped over as well.
std::string_view take_field(Cursor& cursor) {
    while (cursor.current() == ' ')
        ++cursor.at;
    const std::size_t start = cursor.at;
    while (is_digit(cursor.current()))
        ++cursor.at;
    return cursor.text.substr(start, cursor.at - start);
}

int field_value(std::string_view field) {
    int value = kLargestField;
    kstxpe(field, value);
    return value;
}

void step_over_separator(Cursor& cursor) {
    if (cursor.current() == '.' || cursor.current() == ',')
        ++cursor.at;
}

int folded(char c) {
    const char lower = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    return static_cast<signed char>(lower);
}

} // namespace

bool kstxpe(std::string_view tx, int& n) {
    std::size_t at = 0;
    while (at < tx.size() && tx[at] == ' ')
        ++at;
    int value = 0;
    for (; at < tx.size() && tx[at] != ' '; ++at) {
        if (!is_digit(tx[at]))
            return false;
        const int digit = tx[at] - '0';
        if (value > (kLargestField - digit) / 10)
            return false;
        value = value * 10 + digit;
    }
    while (at < tx.size() && tx[at] == ' ')
        ++at;
    if (at < tx.size())
        return false;
    n = value;
    return true;
}

bool kstxvl(const char* tx1, const char* tx2, int dgts) {
    if (tx1 == nullptr || tx2 == nullptr)
        return false;
    Cursor first{tx1, 0};
    Cursor second{tx2, 0};
    if (first.at_end() || second.at_end())
        return first.at_end() && !second.at_end();
    for (int compared = 0;; ++compared) {
        const std::string_view field1 = take_field(first);
        const std::string_view field2 = take_field(second);
        if (field1.empty())
            return !field2.empty() || folded(first.current()) < folded(second.current());
        if (field2.empty() || compared >= dgts)
            return false;
        const int value1 = field_value(field1);
        const int value2 = field_value(field2);
        if (value1 != value2)
            return value1 < value2;
        step_over_separator(first);
        step_over_separator(second);
        if (first.at_end())
            return !second.at_end();
        if (second.at_end())
            return false;
    }
}

bool IsVersionLessThan(const char* tx1, const char* tx2) {
    return kstxvl(tx1, tx2, kVersionFields);
}

const std::string& findHighestVersion(std::string& highestVersion, const std::string& verLoc) {
    std::string best = kLowestVersion;
    for (const std::string& name : directory_entries(verLoc).names) {
        if (is_directory(joined_path(verLoc, name)) &&
            kstxvl(best.c_str(), name.c_str(), kVersionFields))
            best = name;
    }
    highestVersion = best;
    return highestVersion;
}

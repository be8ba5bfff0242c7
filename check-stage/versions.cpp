#include "versions.h"

#include "base/text.h"
#include "bootstrap/version.h"

#include <algorithm>

namespace {

struct Part {
    bool is_number;
    std::string_view text; // a number without its leading zeros
};

// Numbers and words; all else only separates.
std::vector<Part> parts_of(std::string_view version) {
    std::vector<Part> parts;
    while (!version.empty()) {
        const char first = version.front();
        if (!is_digit(first) && !is_letter(first)) {
            version.remove_prefix(1);
            continue;
        }
        std::size_t end = 1;
        while (end < version.size() &&
               (is_digit(first) ? is_digit(version[end]) : is_letter(version[end])))
            ++end;
        std::string_view text = version.substr(0, end);
        while (is_digit(first) && text.size() > 1 && text.front() == '0')
            text.remove_prefix(1);
        parts.push_back({is_digit(first), text});
        version.remove_prefix(end);
    }
    // "v2.0" and "R2" are numbers to a person.
    if (parts.size() > 1 && !parts[0].is_number && parts[0].text.size() == 1)
        parts.erase(parts.begin());
    return parts;
}

std::string lower(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return result;
}

bool comes_before_release(std::string_view word) {
    constexpr std::string_view words[] = {"alpha", "beta",     "rc",  "pre", "preview",
                                          "ea",    "snapshot", "dev", "m",   "cr"};
    return std::find(std::begin(words), std::end(words), lower(word)) != std::end(words);
}

int sign(bool less, bool greater) {
    return greater ? 1 : less ? -1 : 0;
}

int compare_numbers(std::string_view one, std::string_view other) {
    if (one.size() != other.size())
        return sign(one.size() < other.size(), one.size() > other.size());
    return sign(one<other, one> other);
}

// A part against nothing.
int weight(const Part& part) {
    if (part.is_number)
        return part.text == "0" ? 0 : 1;
    return comes_before_release(part.text) ? -1 : 1;
}

} // namespace

int compare_as_person(std::string_view one, std::string_view other) {
    const std::vector<Part> first = parts_of(one);
    const std::vector<Part> second = parts_of(other);
    for (std::size_t i = 0; i < std::max(first.size(), second.size()); ++i) {
        int result = 0;
        if (i >= first.size())
            result = -weight(second[i]);
        else if (i >= second.size())
            result = weight(first[i]);
        else if (first[i].is_number && second[i].is_number)
            result = compare_numbers(first[i].text, second[i].text);
        else if (first[i].is_number != second[i].is_number)
            result = first[i].is_number ? -weight(second[i]) : weight(first[i]);
        else
            result = lower(first[i].text).compare(lower(second[i].text));
        if (result != 0)
            return result < 0 ? -1 : 1;
    }
    return 0;
}

Contenders contenders(const std::string& taken, const std::vector<std::string>& names) {
    Contenders found;
    for (const std::string& name : names) {
        // Without a digit it is no version to anybody.
        if (name == taken || std::none_of(name.begin(), name.end(), is_digit))
            continue;
        const bool alike = !kstxvl(taken.c_str(), name.c_str(), kVersionFields) &&
                           !kstxvl(name.c_str(), taken.c_str(), kVersionFields);
        if (alike)
            found.alike.push_back(name);
        else if (compare_as_person(name, taken) > 0)
            found.higher.push_back(name);
    }
    std::sort(found.higher.begin(), found.higher.end());
    std::sort(found.alike.begin(), found.alike.end());
    return found;
}

// The ground of all text handling: characters by their ASCII class and splitting at separators.
//
// Owns: what counts as white space and as a letter, whatever the operator's locale says. Leaves to
// others: paths (paths), the lines of parameter files (profile).
#pragma once

#include <algorithm>
#include <charconv>
#include <clocale>
#include <cstdlib>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

// Blank, tab, line feed, vertical tab, form feed, carriage return.
inline bool is_white_space(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

inline bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

inline bool is_letter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// `text` without white space at both ends.
inline std::string_view trimmed(std::string_view text) {
    while (!text.empty() && is_white_space(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && is_white_space(text.back()))
        text.remove_suffix(1);
    return text;
}

// The pieces of `text` between any of the characters of `separators`; a run of them counts as one,
// so no piece is empty. Nothing is trimmed.
inline std::vector<std::string> split(std::string_view text, std::string_view separators) {
    std::vector<std::string> pieces;
    std::size_t start = text.find_first_not_of(separators);
    while (start != std::string_view::npos) {
        std::size_t end = text.find_first_of(separators, start);
        if (end == std::string_view::npos)
            end = text.size();
        pieces.emplace_back(text.substr(start, end - start));
        start = text.find_first_not_of(separators, end);
    }
    return pieces;
}

// The whole number at the start of `text`, cut to the range of T: white space and a sign are
// allowed before it, anything may follow it, and 0 stands for no number.
template <typename T>
T leading_whole_number(std::string_view text) {
    text = trimmed(text);
    if (text.starts_with('+'))
        text.remove_prefix(text.size() > 1 && text[1] == '-' ? text.size() : 1);
    T number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec == std::errc::result_out_of_range)
        return text.starts_with('-') ? std::numeric_limits<T>::min()
                                     : std::numeric_limits<T>::max();
    return number;
}

// The decimal number at the start of `text`, as leading_whole_number takes a whole one; one too
// large is infinite. The point is a point in every locale: parameter files are written for all of
// them.
inline double leading_decimal_number(std::string_view text) {
    const auto belongs_to_number = [](char c) {
        return is_digit(c) || is_letter(c) || c == '+' || c == '-' || c == '.';
    };
    text = trimmed(text);
    std::string number(text.begin(), std::find_if_not(text.begin(), text.end(), belongs_to_number));
    const std::size_t point = number.find('.');
    if (point != std::string::npos)
        number.replace(point, 1, std::localeconv()->decimal_point); // the one that strtod knows
    return std::strtod(number.c_str(), nullptr);
}

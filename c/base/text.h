// The ground of all text handling: characters by their ASCII class and splitting at separators.
//
// Owns: what counts as white space and as a letter, whatever the operator's locale says. Leaves to
// others: paths (paths), the lines of parameter files (profile).
#pragma once

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
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

// Beyond every number that a double holds, and far enough from the end of long to add to.
inline constexpr long kLargestExponent = 1'000'000'000;

// Where the first digit of `number` that is not 0 stands, in powers of ten: 2 for "123", -1 for
// "0.1". Tells a number too large to hold from one too small.
inline long decimal_exponent(std::string_view number) {
    const std::size_t mark = number.find_first_of("eE");
    const std::string_view digits = number.substr(0, mark);
    const std::size_t first = digits.find_first_of("123456789");
    const std::size_t point =
        digits.find('.') == std::string_view::npos ? digits.size() : digits.find('.');
    if (first == std::string_view::npos)
        return 0;
    long exponent = static_cast<long>(point) - static_cast<long>(first) - (first < point ? 1 : 0);
    if (mark != std::string_view::npos)
        exponent += std::clamp(leading_whole_number<long>(number.substr(mark + 1)),
                               -kLargestExponent, kLargestExponent);
    return exponent;
}

// The decimal number at the start of `text`, as leading_whole_number takes a whole one. The point
// is a point in every locale: parameter files are written for all of them.
inline double leading_decimal_number(std::string_view text) {
    text = trimmed(text);
    if (text.starts_with('+'))
        text.remove_prefix(text.size() > 1 && text[1] == '-' ? text.size() : 1);
    double number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec == std::errc::result_out_of_range) {
        const auto length = static_cast<std::size_t>(result.ptr - text.data());
        const double magnitude = decimal_exponent(text.substr(0, length)) < 0
                                     ? 0.0
                                     : std::numeric_limits<double>::infinity();
        return text.starts_with('-') ? -magnitude : magnitude;
    }
    return number;
}

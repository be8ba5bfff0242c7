// Typed formatting of message texts.
//
// Owns: what a printf-style template means here. Leaves to others: where templates come from and
// where the result goes.
//
// Templates are data from a disk that anyone may have edited, so they never reach printf: the
// arguments carry their own types, a directive without an argument prints nothing, and nothing is
// ever written through an argument.
#pragma once

#include <concepts>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <variant>

// One argument: a text, a whole number or a decimal number.
struct FormatArg {
    std::variant<std::string_view, long long, double> value;

    FormatArg(const char* text) : value(std::string_view(text == nullptr ? "" : text)) {}
    FormatArg(std::string_view text) : value(text) {}
    FormatArg(const std::string& text) : value(std::string_view(text)) {}
    template <std::integral T>
    FormatArg(T number) : value(static_cast<long long>(number)) {}
    FormatArg(double number) : value(number) {}
};

// Widths, and precisions of numbers, beyond this count as this: no text of a catalogue is longer.
inline constexpr int kMaxFormatWidth = 1023;

// `text` with its directives filled from `args`: %d %i %u %x %X %o %c %s %f with flags, width,
// precision and length letters, "%%", and positional forms such as %2$s. A number is printed for %s
// and a text for %d as it stands. What is no directive at all is copied as it is.
std::string format_text(std::string_view text, std::span<const FormatArg> args);
std::string format_text(std::string_view text, std::initializer_list<FormatArg> args = {});

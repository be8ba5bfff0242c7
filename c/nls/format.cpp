#include "nls/format.h"

#include "base/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>
#include <system_error>

namespace {

struct Directive {
    bool left = false;
    bool plus = false;
    bool blank = false;
    bool alternative = false;
    bool zero = false;
    int width = 0;
    std::optional<int> precision;
    std::string_view length;
    char conversion = '\0';
};

// Walks a template and remembers which argument comes next.
struct Reader {
    std::string_view text;
    std::size_t at = 0;
    std::span<const FormatArg> args;
    std::size_t next_arg = 0;

    [[nodiscard]] char peek() const {
        return at < text.size() ? text[at] : '\0';
    }
    [[nodiscard]] const FormatArg* arg(std::size_t index) const {
        return index < args.size() ? &args[index] : nullptr;
    }
};

// Larger numbers count as this one; it only has to be beyond every text.
constexpr int kLargestNumber = 100'000'000;

int read_number(Reader& reader) {
    int number = 0;
    while (is_digit(reader.peek())) {
        number = std::min(number * 10 + (reader.peek() - '0'), kLargestNumber);
        ++reader.at;
    }
    return number;
}

// A number that is followed by "$" names an argument by its position, counted from 1.
std::optional<std::size_t> read_position(Reader& reader) {
    const std::size_t start = reader.at;
    if (is_digit(reader.peek())) {
        const int number = read_number(reader);
        if (reader.peek() == '$' && number > 0) {
            ++reader.at;
            return static_cast<std::size_t>(number - 1);
        }
    }
    reader.at = start;
    return std::nullopt;
}

long long to_whole(const FormatArg& arg) {
    if (const auto* whole = std::get_if<long long>(&arg.value))
        return *whole;
    if (const auto* decimal = std::get_if<double>(&arg.value)) {
        if (std::isnan(*decimal))
            return 0;
        if (*decimal >= static_cast<double>(LLONG_MAX))
            return LLONG_MAX;
        if (*decimal <= static_cast<double>(LLONG_MIN))
            return LLONG_MIN;
        return static_cast<long long>(*decimal);
    }
    return 0;
}

// A width or precision given as "*" or "*n$"; an absent or textual argument gives 0.
int read_star(Reader& reader) {
    const auto position = read_position(reader);
    const FormatArg* arg = reader.arg(position ? *position : reader.next_arg);
    if (!position)
        ++reader.next_arg;
    if (arg == nullptr)
        return 0;
    const long long number = to_whole(*arg);
    return static_cast<int>(std::clamp<long long>(number, -kLargestNumber, kLargestNumber));
}

void read_flags(Reader& reader, Directive& directive) {
    for (;; ++reader.at) {
        switch (reader.peek()) {
        case '-':
            directive.left = true;
            break;
        case '+':
            directive.plus = true;
            break;
        case ' ':
            directive.blank = true;
            break;
        case '#':
            directive.alternative = true;
            break;
        case '0':
            directive.zero = true;
            break;
        case '\'':
            break; // grouping, which the texts do not need
        default:
            return;
        }
    }
}

void read_width_and_precision(Reader& reader, Directive& directive) {
    if (reader.peek() == '*') {
        ++reader.at;
        directive.width = std::clamp(read_star(reader), -kMaxFormatWidth, kMaxFormatWidth);
        if (directive.width < 0) {
            directive.left = true;
            directive.width = -directive.width;
        }
    } else {
        directive.width = std::min(read_number(reader), kMaxFormatWidth);
    }
    if (reader.peek() != '.')
        return;
    ++reader.at;
    if (reader.peek() == '*') {
        ++reader.at;
        const int precision = read_star(reader);
        if (precision >= 0)
            directive.precision = precision;
    } else {
        directive.precision = read_number(reader);
    }
}

void read_length(Reader& reader, Directive& directive) {
    const std::size_t start = reader.at;
    while (std::string_view("hljztLq").find(reader.peek()) != std::string_view::npos &&
           reader.peek() != '\0')
        ++reader.at;
    directive.length = reader.text.substr(start, reader.at - start);
}

// Signs and prefixes stay before the zeros that fill a number.
std::string pad(const Directive& directive, std::string_view prefix, std::string_view body,
                bool zeros_allowed) {
    const auto width = static_cast<std::size_t>(directive.width);
    const std::size_t length = prefix.size() + body.size();
    const std::size_t fill = width > length ? width - length : 0;
    std::string out;
    if (directive.left)
        out.append(prefix).append(body).append(fill, ' ');
    else if (directive.zero && zeros_allowed)
        out.append(prefix).append(fill, '0').append(body);
    else
        out.append(fill, ' ').append(prefix).append(body);
    return out;
}

std::string_view sign_of(const Directive& directive, bool negative) {
    if (negative)
        return "-";
    if (directive.plus)
        return "+";
    return directive.blank ? " " : "";
}

// The number as C would see it through an unsigned argument of the directive's length.
unsigned long long as_unsigned(const Directive& directive, long long number) {
    if (directive.length == "hh")
        return static_cast<unsigned char>(number);
    if (directive.length == "h")
        return static_cast<unsigned short>(number);
    if (directive.length.empty() && number < 0)
        return static_cast<unsigned int>(number);
    return static_cast<unsigned long long>(number);
}

// The digits of `magnitude`, with zeros before them up to the directive's precision.
std::string digits_of(const Directive& directive, unsigned long long magnitude, int base) {
    std::array<char, std::numeric_limits<unsigned long long>::digits> digits{};
    char* const end =
        std::to_chars(digits.data(), digits.data() + digits.size(), magnitude, base).ptr;
    std::string body(digits.data(), end);
    if (directive.precision) {
        if (*directive.precision == 0 && magnitude == 0)
            body.clear();
        const auto precision =
            static_cast<std::size_t>(std::min(*directive.precision, kMaxFormatWidth));
        if (body.size() < precision)
            body.insert(0, precision - body.size(), '0');
    }
    return body;
}

std::string format_whole(const Directive& directive, long long number) {
    std::string_view prefix;
    unsigned long long magnitude = 0;
    int base = 10;
    if (directive.conversion == 'd' || directive.conversion == 'i') {
        prefix = sign_of(directive, number < 0);
        magnitude = number < 0 ? 0ULL - static_cast<unsigned long long>(number)
                               : static_cast<unsigned long long>(number);
    } else {
        magnitude = as_unsigned(directive, number);
        if (directive.conversion == 'o')
            base = 8;
        if (directive.conversion == 'x' || directive.conversion == 'X')
            base = 16;
    }
    std::string body = digits_of(directive, magnitude, base);
    if (directive.alternative && base == 8 && !body.starts_with('0'))
        body.insert(0, 1, '0');
    if (directive.alternative && base == 16 && magnitude != 0)
        prefix = "0x";
    std::string out = pad(directive, prefix, body, !directive.precision);
    if (directive.conversion == 'X') {
        for (char& c : out)
            c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    }
    return out;
}

// The point is a point in every locale: the log is English.
std::string format_decimal(const Directive& directive, double number) {
    const int precision = std::min(directive.precision.value_or(6), kMaxFormatWidth);
    const bool negative = std::signbit(number);
    const std::string_view prefix = sign_of(directive, negative);
    if (!std::isfinite(number))
        return pad(directive, prefix, std::isnan(number) ? "nan" : "inf", false);
    // 309 digits before the point at the most, then the locale's point and the decimals.
    constexpr std::size_t before_decimals = 320;
    std::string body(before_decimals + static_cast<std::size_t>(precision), '\0');
    const int length =
        std::snprintf(body.data(), body.size(), "%.*f", precision, std::fabs(number));
    body.resize(static_cast<std::size_t>(length));
    const std::size_t point = body.find_first_not_of("0123456789");
    if (point != std::string::npos)
        body.replace(point, body.size() - static_cast<std::size_t>(precision) - point, ".");
    if (directive.alternative && precision == 0)
        body += '.';
    return pad(directive, prefix, body, true);
}

std::string number_as_text(const FormatArg& arg) {
    if (const auto* text = std::get_if<std::string_view>(&arg.value))
        return std::string(*text);
    Directive plain;
    if (const auto* decimal = std::get_if<double>(&arg.value))
        return format_decimal(plain, *decimal);
    plain.conversion = 'd';
    return format_whole(plain, to_whole(arg));
}

std::string format_argument(const Directive& directive, const FormatArg& arg) {
    const auto* text = std::get_if<std::string_view>(&arg.value);
    switch (directive.conversion) {
    case 'd':
    case 'i':
    case 'u':
    case 'x':
    case 'X':
    case 'o':
        if (text != nullptr)
            return pad(directive, "", *text, false);
        return format_whole(directive, to_whole(arg));
    case 'f':
    case 'F':
        if (text != nullptr)
            return pad(directive, "", *text, false);
        if (const auto* decimal = std::get_if<double>(&arg.value))
            return format_decimal(directive, *decimal);
        return format_decimal(directive, static_cast<double>(to_whole(arg)));
    case 'c': {
        if (text != nullptr)
            return pad(directive, "", text->substr(0, 1), false);
        const char byte = static_cast<char>(to_whole(arg));
        return pad(directive, "", std::string_view(&byte, 1), false);
    }
    case 's': {
        std::string shown = number_as_text(arg);
        if (directive.precision && static_cast<std::size_t>(*directive.precision) < shown.size())
            shown.resize(static_cast<std::size_t>(*directive.precision));
        return pad(directive, "", shown, false);
    }
    default:
        return "";
    }
}

} // namespace

std::string format_text(std::string_view text, std::span<const FormatArg> args) {
    Reader reader{text, 0, args, 0};
    std::string out;
    while (reader.at < text.size()) {
        const std::size_t start = reader.at;
        if (text[reader.at++] != '%') {
            out += text[start];
            continue;
        }
        if (reader.peek() == '%') {
            out += '%';
            ++reader.at;
            continue;
        }
        Directive directive;
        const auto position = read_position(reader);
        read_flags(reader, directive);
        read_width_and_precision(reader, directive);
        read_length(reader, directive);
        directive.conversion = reader.peek();
        if (!is_letter(directive.conversion)) {
            // "100%", "5% (of 20)": a lone percent sign is text, not the start of a directive.
            reader.at = start + 1;
            out += '%';
            continue;
        }
        ++reader.at;
        // A letter that is no conversion here (%n and %p among them) still takes its argument.
        const FormatArg* arg = reader.arg(position ? *position : reader.next_arg);
        if (!position)
            ++reader.next_arg;
        if (arg != nullptr)
            out += format_argument(directive, *arg);
    }
    return out;
}

std::string format_text(std::string_view text, std::initializer_list<FormatArg> args) {
    return format_text(text, std::span<const FormatArg>(args.begin(), args.size()));
}

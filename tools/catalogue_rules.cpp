#include "catalogue_rules.h"

#include <cstddef>
#include <map>
#include <optional>

namespace {

// What the launcher reads of a record before it takes the rest for the next one.
constexpr std::size_t max_record = 1023;
// More arguments than any message has; the bound keeps a mistyped position from counting.
constexpr std::size_t max_position = 99;

struct Directive {
    std::string_view written;
    std::size_t position = 0; // 0: takes the next argument
    std::string kind;         // equal for directives that take the same argument
};

// What a text asks of its caller, and what is left of it once that is filled in.
struct Analysis {
    std::string problem;
    std::map<std::size_t, std::string> kinds; // by position, from 1
    std::string after_first_pass;
};

std::string quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

std::size_t skip_any(std::string_view text, std::size_t at, std::string_view of) {
    const std::size_t end = text.find_first_not_of(of, at);
    return end == std::string_view::npos ? text.size() : end;
}

std::string kind_of(std::string_view length, char conversion) {
    switch (conversion) {
    case 'd':
    case 'i':
        return std::string(length) + "d";
    case 'u':
    case 'x':
        return std::string(length) + "u";
    case 'c':
    case 's':
    case 'f':
        return std::string(length) + conversion;
    default:
        return "";
    }
}

// Reads the directive that begins with the "%" at `at`; null when the launcher knows none such.
std::optional<Directive> read_directive(std::string_view text, std::size_t at) {
    constexpr std::string_view digits = "0123456789";
    Directive directive;
    const std::size_t start = at++;

    const std::size_t after_digits = skip_any(text, at, digits);
    if (after_digits > at && after_digits < text.size() && text[after_digits] == '$') {
        for (; at < after_digits && directive.position <= max_position; ++at)
            directive.position = directive.position * 10 + static_cast<std::size_t>(text[at] - '0');
        if (directive.position == 0 || directive.position > max_position)
            return std::nullopt;
        at = after_digits + 1;
    }
    at = skip_any(text, at, "-+ #0");
    at = skip_any(text, at, digits);
    if (at < text.size() && text[at] == '.')
        at = skip_any(text, at + 1, digits);

    std::string_view length;
    for (const std::string_view candidate : {"hh", "ll", "h", "l", "j", "z", "t", "L"}) {
        if (length.empty() && text.substr(at).starts_with(candidate))
            length = candidate;
    }
    at += length.size();
    directive.kind = at < text.size() ? kind_of(length, text[at]) : "";
    if (directive.kind.empty())
        return std::nullopt;
    directive.written = text.substr(start, at + 1 - start);
    return directive;
}

Analysis analyse(std::string_view text) {
    Analysis result;
    std::size_t next = 0;
    bool any_positional = false;
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] != '%') {
            result.after_first_pass += text[at++];
            continue;
        }
        if (text.substr(at).starts_with("%%")) {
            result.after_first_pass += '%';
            at += 2;
            continue;
        }
        const auto directive = read_directive(text, at);
        if (!directive) {
            result.problem = "the launcher cannot fill in the directive that begins at " +
                             quoted(text.substr(at, 8));
            return result;
        }
        any_positional = any_positional || directive->position != 0;
        if (directive->position == 0)
            ++next;
        if (any_positional && next != 0) {
            result.problem = "directives with a position and directives without one are mixed";
            return result;
        }
        const std::size_t position = directive->position != 0 ? directive->position : next;
        const auto known = result.kinds.try_emplace(position, directive->kind).first;
        if (known->second != directive->kind) {
            result.problem = "argument " + std::to_string(position) + " is used as two types, " +
                             quoted(directive->written) + " being the second";
            return result;
        }
        result.after_first_pass += '.'; // stands for whatever the argument is
        at += directive->written.size();
    }
    if (!result.kinds.empty() && result.kinds.rbegin()->first != result.kinds.size())
        result.problem = "the positions of the directives leave out an argument";
    return result;
}

// Literal percent signs. What goes to the console passes the processing of "%" when it is printed,
// whatever happened to it before. A text without arguments is printed as it stands, so this is the
// only time: "%%" is one percent sign. A text with arguments has been filled in before, which has
// already made each "%%" into one "%"; only "%%%%" is a percent sign at the end of both. (The log
// gets filled texts without the second time and would show two of them; so the texts had better do
// without percent signs.) Of a text with arguments, the filled form is therefore looked at once
// more: a "%" left in it that is not doubled would swallow what follows it on the screen.
std::string check_percent_signs(const Analysis& analysis) {
    if (analysis.kinds.empty())
        return "";
    const std::string& filled = analysis.after_first_pass;
    for (std::size_t at = filled.find('%'); at != std::string::npos;
         at = filled.find('%', at + 2)) {
        if (filled.compare(at, 2, "%%") != 0)
            return "a percent sign in a text with arguments is written \"%%%%\"";
    }
    return "";
}

bool ends_line_alike(std::string_view one, std::string_view other) {
    return one.starts_with('\n') == other.starts_with('\n') &&
           one.ends_with('\n') == other.ends_with('\n');
}

} // namespace

std::string check_text(std::string_view text) {
    const Analysis analysis = analyse(text);
    return analysis.problem.empty() ? check_percent_signs(analysis) : analysis.problem;
}

std::string check_translation(std::string_view english, std::string_view translated) {
    const auto wanted = analyse(english).kinds;
    const auto found = analyse(translated).kinds;
    if (wanted.size() != found.size())
        return "the translation has " + std::to_string(found.size()) +
               " placeholders and the English text " + std::to_string(wanted.size());
    for (const auto& [position, kind] : wanted) {
        if (found.at(position) != kind)
            return "placeholder " + std::to_string(position) + " is of type " +
                   quoted(found.at(position)) + " in the translation and of type " + quoted(kind) +
                   " in the English text";
    }
    if (!ends_line_alike(english, translated))
        return "the translation and the English text do not both begin, or do not both end, with "
               "a line end";
    return "";
}

std::string check_record_size(std::string_view key, std::string_view text) {
    const std::size_t size = key.size() + 1 + text.size();
    if (size <= max_record)
        return "";
    return "key and text make a record of " + std::to_string(size) + " bytes; the launcher reads " +
           std::to_string(max_record);
}

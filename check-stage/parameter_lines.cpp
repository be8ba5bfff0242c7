#include "parameter_lines.h"

#include "base/profile.h"
#include "base/text.h"

namespace {

// Where the key of an entry ends in its text: behind a quoted one's closing quote.
std::size_t end_of_key(const std::string& text) {
    std::size_t at = 0;
    while (at < text.size() && is_white_space(text[at]))
        ++at;
    if (at < text.size() && text[at] == '"') {
        const std::size_t end = text.find('"', at + 1);
        return end == std::string::npos ? text.size() : end + 1;
    }
    while (at < text.size() && text[at] != '=' && !is_white_space(text[at]))
        ++at;
    return at;
}

ParameterLine line_from(std::string text, std::size_t number) {
    ParameterLine line;
    line.number = number;
    std::string_view header = text;
    if (IsBlockHeader(header)) {
        line.kind = ParameterLine::Kind::header;
        text.resize(header.size());
        if (text.starts_with('[') && text.ends_with(']'))
            line.section = text.substr(1, text.size() - 2);
    } else if (GetToken(text.c_str(), line.key, false) != 0) {
        line.kind = ParameterLine::Kind::stop;
    } else {
        line.has_value = GetToken(nullptr, line.value, true) == 0;
        line.key_end = end_of_key(text);
    }
    line.text = std::move(text);
    return line;
}

} // namespace

std::string_view ParameterLine::unread() const {
    return std::string_view(text).substr(key_end);
}

ParameterLines cut_into_lines(std::string_view bytes) {
    ParameterLines file;
    std::string text;
    std::size_t number = 1;
    std::size_t begin = 1;
    bool has_text = false;
    const auto take = [&] {
        const std::size_t nul = text.find('\0');
        if (nul != std::string::npos) {
            file.with_nul.push_back(begin);
            text.resize(nul);
        }
        file.lines.push_back(line_from(text, begin));
        text.clear();
        has_text = false;
    };
    for (const char c : bytes) {
        if (static_cast<unsigned char>(c) == kByteThatEndsData) {
            file.ended_by_byte = number;
            break;
        }
        if (c == '\n') {
            // Blanks of a blank line stay and stand before the next line's first character.
            if (has_text)
                take();
            ++number;
            continue;
        }
        text += c;
        if (!has_text && !is_white_space(c)) {
            has_text = true;
            begin = number;
        }
    }
    if (has_text)
        take();
    return file;
}

const ParameterLine* deciding_line(const ParameterLines& file, std::string_view section,
                                   std::string_view key) {
    for (const ParameterLine* line : entries_of(file, section)) {
        if (line->key == key)
            return line;
    }
    return nullptr;
}

std::vector<const ParameterLine*> entries_of(const ParameterLines& file, std::string_view section) {
    std::vector<const ParameterLine*> entries;
    bool inside = section.empty();
    for (const ParameterLine& line : file.lines) {
        const bool header = line.kind == ParameterLine::Kind::header;
        if (inside && line.kind != ParameterLine::Kind::entry)
            break;
        if (inside)
            entries.push_back(&line);
        else
            inside = header && line.section == section;
    }
    return entries;
}

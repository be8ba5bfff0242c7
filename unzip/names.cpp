#include "unzip/names.h"

#include "base/text.h"

namespace {

constexpr char kDelete = 0x7f;

bool is_control(char c) {
    return (c >= 0 && c < ' ') || c == kDelete;
}

} // namespace

const char* unsafe_name(std::string_view name) {
    if (name.empty())
        return "its name is empty";
    for (const char c : name) {
        if (is_control(c))
            return "its name has a control character in it";
        if (c == '\\')
            return "its name has a backslash in it";
    }
    if (name.front() == '/')
        return "its name begins at the root directory";
    if (name.size() > 1 && name[1] == ':' && is_letter(name[0]))
        return "its name begins with a drive letter";
    for (const std::string& piece : split(name, "/")) {
        if (piece == "..")
            return "its name leads upwards";
    }
    return nullptr;
}

std::string plain_name(std::string_view name) {
    std::string plain;
    for (const std::string& piece : split(name, "/")) {
        if (piece != ".")
            plain += (plain.empty() ? "" : "/") + piece;
    }
    return plain;
}

std::string printable(std::string_view name) {
    std::string shown;
    for (const char c : name) {
        if (is_control(c)) {
            shown += '^';
            shown += static_cast<char>(c ^ 0x40);
        } else {
            shown += c;
        }
    }
    return shown;
}

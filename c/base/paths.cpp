#include "base/paths.h"

#include "base/text.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr mode_t kNewDirectoryMode = 0777;
// What replaceStr has room for without moving; no path of a system is longer.
constexpr std::size_t kReplacedRoom = 4096;

// The value after `name`, up to `end_mark`. Its first character never counts as the end, so that
// "-name -other" has the value "-other".
void value_after(std::string_view name, const char* command_line, std::string_view end_mark,
                 std::string& value) {
    if (command_line == nullptr)
        return;
    const std::string_view line(command_line);
    const std::size_t found = line.find(name);
    if (line.empty() || found == std::string_view::npos)
        return;
    const std::size_t start = found + name.size();
    std::size_t end = line.find(end_mark, start + 1);
    if (end == std::string_view::npos)
        end = line.size();
    value = trimmed(line.substr(start, end - start));
}

// Makes `path` where it is missing. Whether it can be used then; if not, errno says why, and for
// what could not be made, why that is so.
bool make_usable(const std::string& path) {
    const int made = mkdir(path.c_str(), kNewDirectoryMode);
    const int error = errno;
    if (allows_all_access(path))
        return true;
    if (made != 0 && error != EEXIST)
        errno = error;
    return false;
}

} // namespace

void ConcatPath(std::string& path, std::string_view dirName) {
    if (!path.ends_with('/'))
        path += '/';
    path += dirName;
}

std::string joined_path(std::string path, std::string_view name) {
    ConcatPath(path, name);
    return path;
}

void GetFullFileName(std::string* pt, std::string_view fn) {
    if (pt == nullptr)
        return;
    if (!pt->empty() && !pt->ends_with('/'))
        *pt += '/';
    *pt += fn;
}

void NormalizeDir(std::string& pt) {
    if (pt.ends_with('/'))
        pt.pop_back();
}

std::string cut_at_last_slash(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return std::string(slash == std::string_view::npos ? path : path.substr(0, slash));
}

int StringLn(std::string_view sg) {
    return static_cast<int>(sg.size());
}

bool PathExists(const char* pt) {
    struct stat found {};
    return pt != nullptr && stat(pt, &found) == 0;
}

bool allows_all_access(const std::string& path) {
    return access(path.c_str(), R_OK | W_OK | X_OK) == 0;
}

bool PathWritable(const char* pt) {
    if (pt == nullptr)
        return false;
    const std::string path(pt);
    if (!PathExists(path)) {
        if (errno == ENAMETOOLONG)
            return false; // it can never be made, so nothing above it has to be
        const std::string parent = cut_at_last_slash(path);
        if (!parent.empty() && parent != path && !PathExists(parent)) {
            // Going on through the grandparent makes the whole chain of missing directories.
            const std::string grandparent = cut_at_last_slash(parent);
            if (!grandparent.empty() && grandparent != parent && !PathWritable(grandparent))
                return false;
            if (!make_usable(parent))
                return false;
        }
        return make_usable(path);
    }
    return allows_all_access(path);
}

bool CheckForInvalidCharactersInPath(std::string_view path) {
    return path.find_first_of("\"*:<>?|") == std::string_view::npos;
}

bool validatePath(std::string_view path) {
    return path.starts_with('/') && path.find_first_of("\\*?<>:|;") == std::string_view::npos;
}

void TrimString(std::string* str) {
    if (str != nullptr)
        *str = std::string(trimmed(*str));
}

void StripQuotes(std::string& str) {
    if (!str.ends_with('"'))
        return;
    str.pop_back();
    if (str.starts_with('"'))
        str.erase(0, 1);
}

const char* replaceStr(const char* str, const char* orig, const char* rep) {
    static std::string replaced;
    if (str == nullptr || orig == nullptr || rep == nullptr)
        return str;
    std::string text(str);
    const std::size_t found = text.find(orig);
    if (found == std::string::npos)
        return str;
    text.replace(found, std::string_view(orig).size(), rep);
    if (replaced.capacity() < std::max(text.size(), kReplacedRoom)) {
        // The next result overwrites this one, but whoever still holds it may read it.
        static std::string outgrown;
        outgrown = std::move(replaced);
        replaced = std::string();
        replaced.reserve(std::max(text.size(), kReplacedRoom));
    }
    replaced = text;
    return replaced.c_str();
}

std::optional<std::string> replace_str(const char* orig) {
    if (orig == nullptr)
        return std::nullopt;
    const std::string_view marker = "-J-";
    std::string text(orig);
    for (std::size_t at = text.find(marker); at != std::string::npos;
         at = text.find(marker, at + 1))
        text.replace(at, marker.size(), "-");
    return text;
}

void GetCommandLineArgValue(std::string_view argName, const char* commandLine,
                            std::string& argValue) {
    value_after(argName, commandLine, " -", argValue);
}

void GetCommandLineArgValueSpaceDelim(std::string_view argName, const char* commandLine,
                                      std::string& argValue) {
    value_after(argName, commandLine, " ", argValue);
}

int GetFullPathName(const char* /*lpFileName*/, int /*nBufferLength*/, char* /*lpBuffer*/,
                    char** /*lpFilePart*/) {
    return 0;
}

std::string shell_word(std::string_view text) {
    // "^" is a pipe to old shells, braces are expanded by new ones. "#" and "~" matter only at the
    // start of a word; "=" can make an assignment of a word that is no path.
    const std::string_view special = "|&;<>()$`\\\"'*?[{}^";
    const std::string_view special_at_start = "#~";
    if (text.empty())
        return "";
    bool plain =
        special_at_start.find(text.front()) == std::string_view::npos &&
        (text.front() == '/' || text.front() == '.' || text.find('=') == std::string_view::npos);
    for (const char c : text)
        plain = plain && static_cast<unsigned char>(c) > ' ' && c != '\x7f' &&
                special.find(c) == std::string_view::npos;
    if (plain)
        return std::string(text);
    std::string word = "'";
    for (const char c : text) {
        if (c == '\'')
            word += "'\\''";
        else
            word += c;
    }
    return word + "'";
}

#include "base/profile.h"

#include "base/text.h"

#include <ctime>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace {

// Clocks of file systems tick as slowly as every two seconds: of a file that changed later than so
// many seconds ago a further change might not show.
constexpr time_t kSlowestTick = 2;

// The line that is being cut into tokens, and what of it is unread.
std::string line_in_work;
std::size_t psRemainingString = 0;

// Reads a line without its line feed: 0, or -1 when the data ended, with what had been gathered.
// A line feed after nothing but white space does not end the line: the white space stays in front.
// The line is appended to `line`.
int GetLine(std::string& line, std::FILE* file) {
    const std::size_t start = line.size();
    bool has_text = false;
    int result = -1;
    for (;;) {
        // Nobody else has the stream: the lock of getc would cost more than the reading.
        const int byte = getc_unlocked(file);
        if (byte == EOF)
            break;
        if (byte == kByteThatEndsData) {
            std::ungetc(byte, file); // the next read ends here as well
            break;
        }
        if (byte == '\n') {
            if (!has_text)
                continue;
            result = 0;
            break;
        }
        line += static_cast<char>(byte);
        has_text = has_text || !is_white_space(static_cast<char>(byte));
    }
    // Lines are texts for everybody above, and a text ends at a NUL.
    const std::size_t nul = line.find('\0', start);
    if (nul != std::string::npos)
        line.resize(nul);
    return result;
}

// `token` without white space at both ends; nothing else stays as it is.
std::string_view trimmed_token(std::string_view token) {
    const std::string_view text = trimmed(token);
    return text.empty() ? token : text;
}

// Takes a token of `line` as GetToken does; `at` is what is unread.
int take_token(std::string_view& token, std::size_t& at, std::string_view line, bool ignore_space) {
    std::size_t start = at;
    while (start < line.size() && is_white_space(line[start]))
        ++start;
    if (start >= line.size())
        return -1;

    std::size_t end = start;
    if (line[start] == '"') {
        ++start;
        end = line.find('"', start);
        if (end == std::string_view::npos) {
            at = line.size();
            return -1;
        }
    } else {
        if (line[start] == '=')
            return -1;
        while (end < line.size() && line[end] != '=' &&
               (ignore_space || !is_white_space(line[end])))
            ++end;
    }
    // Exactly one character is stepped over: after "KEY " the value then starts with the "=", which
    // makes it unusable.
    at = end < line.size() ? end + 1 : end;
    token = trimmed_token(line.substr(start, end - start));
    return 0;
}

// A line and what it is. A header has no key.
struct Line {
    std::string_view text;
    bool is_header = false;
    bool has_key = false;
    std::string_view key;
    std::size_t value_at = 0; // what follows the key
};

Line line_of(std::string_view text) {
    Line line;
    line.text = text;
    line.is_header = IsBlockHeader(line.text);
    line.has_key = !line.is_header && take_token(line.key, line.value_at, text, false) == 0;
    return line;
}

// What tells a file's bytes from those it had before and from every other file's.
struct Version {
    dev_t device;
    ino_t inode;
    off_t size;
    time_t seconds; // of the last change
    long nanoseconds;

    bool operator==(const Version&) const = default;
};

// The last file that was read: a launch asks one file for some forty keys.
struct KeptFile {
    bool reusable = false; // the version tells every change
    Version version{};
    std::string text;        // its lines, one behind the other
    std::vector<Line> lines; // the last is the one that the data ended in
};
KeptFile kept_file;

// The version of a plain file; nothing else stays what it is while nobody changes it.
std::optional<Version> version_of(const struct stat& found) {
    if (!S_ISREG(found.st_mode))
        return std::nullopt;
    return Version{found.st_dev, found.st_ino, found.st_size, found.st_ctim.tv_sec,
                   found.st_ctim.tv_nsec};
}

// Whether the kept lines are those of the file that is now at `path`.
bool is_kept(const char* path) {
    struct stat found {};
    return kept_file.reusable && stat(path, &found) == 0 && version_of(found) == kept_file.version;
}

// Keeps the lines of the open file when it is a plain one.
bool keep(std::FILE* file) {
    struct stat found {};
    // Asked before the reading: a change while it lasts is a change afterwards.
    const std::optional<Version> version =
        fstat(fileno(file), &found) == 0 ? version_of(found) : std::nullopt;
    kept_file.reusable = version && version->seconds + kSlowestTick < std::time(nullptr);
    if (!version)
        return false;
    kept_file.version = *version;
    kept_file.text.clear();
    kept_file.lines.clear();
    std::vector<std::size_t> ends;
    for (int status = 0; status == 0; ends.push_back(kept_file.text.size()))
        status = GetLine(kept_file.text, file);
    std::size_t start = 0;
    for (const std::size_t end : ends) {
        kept_file.lines.push_back(
            line_of(std::string_view(kept_file.text).substr(start, end - start)));
        start = end;
    }
    return true;
}

// Where lines come from: an open stream, or without one the kept file.
struct Lines {
    std::FILE* stream = nullptr;
    std::size_t next = 0; // of the kept lines
    std::string work;     // the stream's last line
};

// `line` becomes the next line, as GetLine reads it; it holds until the next call.
int next_line(Line& line, Lines& lines) {
    if (lines.stream != nullptr) {
        lines.work.clear();
        const int status = GetLine(lines.work, lines.stream);
        line = line_of(lines.work);
        return status;
    }
    if (lines.next == kept_file.lines.size()) {
        line = {};
        return -1;
    }
    line = kept_file.lines[lines.next];
    return ++lines.next < kept_file.lines.size() ? 0 : -1;
}

// Reads on to just behind the header of `section`.
bool find_section(Lines& lines, const char* section) {
    const std::string pattern = std::string("[") + section + "]";
    Line line;
    for (int status = 0; status == 0;) {
        status = next_line(line, lines);
        // Compared from column 1: an indented header is a header, but never the wanted one. The
        // last line may end with the data and still be it.
        if (line.is_header && line.text == pattern)
            return true;
    }
    return false;
}

// The value of `key` from where the lines stand; `fallback` when the section ends, a line has no
// usable key, or the value is unusable.
void read_value(Lines& lines, std::string_view key, const char* fallback, std::string& value) {
    Line line;
    std::string_view token = fallback;
    for (int status = 0; status == 0;) {
        status = next_line(line, lines);
        if (!line.has_key)
            break;
        if (line.key == key) {
            take_token(token, line.value_at, line.text, true);
            break;
        }
    }
    value = token;
}

} // namespace

bool IsBlockHeader(std::string_view& line) {
    std::size_t white = 0;
    while (white < line.size() && is_white_space(line[white]))
        ++white;
    if (white == line.size() || line[white] != '[')
        return false;
    // The search starts as far behind the bracket as the bracket is indented: a short indented
    // header is not one. Parameter files in the field rely on that.
    if (line.find(']', white + white) == std::string_view::npos)
        return false;
    while (is_white_space(line.back()))
        line.remove_suffix(1);
    return true;
}

void TrimToken(std::string& Token) {
    Token = std::string(trimmed_token(Token));
}

int GetToken(const char* psStrToBeParsed, std::string& token, bool bIgnoreSpace) {
    if (psStrToBeParsed != nullptr) {
        line_in_work = psStrToBeParsed;
        psRemainingString = 0;
    }
    std::string_view taken;
    if (take_token(taken, psRemainingString, line_in_work, bIgnoreSpace) != 0)
        return -1;
    token = taken;
    return 0;
}

void GenericGetPrivateProfileString(const char* pSection, const char* pVarName,
                                    const char* pDefault, std::string& pValue, int /*nVal*/,
                                    const char* pFileName) {
    std::FILE* file = nullptr;
    if (!is_kept(pFileName)) {
        file = std::fopen(pFileName, "r");
        if (file == nullptr) {
            pValue = pDefault;
            return;
        }
    }
    Lines lines;
    if (file != nullptr && !keep(file))
        lines.stream = file;
    if (pSection == nullptr || find_section(lines, pSection))
        read_value(lines, pVarName, pDefault, pValue);
    if (file != nullptr)
        std::fclose(file);
}

int GenericGetPrivateProfileStringFromINI(const char* pSection, const char* optBuffer,
                                          const char* pVarName, const char* pDefault,
                                          std::string& pValue, int nVal, const char* pFileName) {
    GenericGetPrivateProfileString(pSection, pVarName, pDefault, pValue, nVal, pFileName);
    if (!pValue.empty())
        return 1;
    GenericGetPrivateProfileString(optBuffer, pVarName, pDefault, pValue, nVal, pFileName);
    return 2;
}

int GenericGetPrivateProfileVarAndString(const char* pSection, std::string& pVarName,
                                         std::string& pValue, std::FILE* pFile) {
    Lines lines{pFile, 0, {}};
    if (pSection != nullptr)
        return find_section(lines, pSection) ? 0 : -1;
    Line line;
    next_line(line, lines);
    if (!line.has_key)
        return -1;
    std::string_view value;
    take_token(value, line.value_at, line.text, true);
    pVarName = line.key;
    pValue = value;
    return 0;
}

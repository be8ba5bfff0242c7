#include "base/profile.h"

#include "base/text.h"

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <sys/types.h>
#include <vector>

namespace {

// Clocks of file systems tick as slowly as every two seconds: of a file that changed later than so
// many seconds ago a further change might not show.
constexpr time_t kSlowestTick = 2;

constexpr std::size_t kPiece = 16384;       // bytes of a file that are read at a time
constexpr off_t kLargestExpected = 1 << 20; // the data may end long before the file does

// The line that is being cut into tokens, and what of it is unread.
std::string line_in_work;
std::size_t psRemainingString = 0;

// Reads a line without its line feed: 0, or -1 when the data ended, with what had been gathered.
// A line feed after nothing but white space does not end the line: the white space stays in front.
int GetLine(std::string& line, std::FILE* file) {
    line.clear();
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
    line.resize(std::min(line.size(), line.find('\0')));
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

// What a line is, once it has been asked for.
enum class LineKind { unknown, header, entry, unusable };

struct Line {
    std::string_view text;
    LineKind kind = LineKind::unknown;
    std::string_view key; // of an entry
};

void classify(Line& line) {
    std::size_t value_at = 0;
    if (IsBlockHeader(line.text))
        line.kind = LineKind::header;
    else if (take_token(line.key, value_at, line.text, false) == 0)
        line.kind = LineKind::entry;
    else
        line.kind = LineKind::unusable;
}

// `line` with what it is.
const Line& known(Line& line) {
    if (line.kind == LineKind::unknown)
        classify(line);
    return line;
}

// The value of an entry; `value` stays as it was when it has no usable one.
void take_value(std::string_view& value, const Line& entry) {
    std::string_view key;
    std::size_t value_at = 0;
    take_token(key, value_at, entry.text, false);
    take_token(value, value_at, entry.text, true);
}

// Whether `line` is the header `pattern`. Compared from column 1: an indented header is a header,
// but never the wanted one. Most lines are told apart by their beginning alone.
bool is_header(Line& line, std::string_view pattern) {
    return line.text.starts_with(pattern) && known(line).kind == LineKind::header &&
           line.text == pattern;
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
    std::string text;           // its data
    std::vector<Line> lines;    // the last is the one that the data ended in
    std::string section;        // the header that was found last
    std::size_t section_at = 0; // the line behind it
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

// The data of the open file, which says that it has `size` bytes.
std::string data_of(std::FILE* file, off_t size) {
    std::string data;
    data.reserve(static_cast<std::size_t>(std::clamp<off_t>(size, 0, kLargestExpected)) + kPiece);
    std::size_t end = std::string::npos;
    for (std::size_t got = kPiece; got == kPiece && end == std::string::npos;) {
        const std::size_t filled = data.size();
        data.resize(filled + kPiece);
        got = std::fread(&data[filled], 1, kPiece, file);
        data.resize(filled + got);
        end = data.find(static_cast<char>(kByteThatEndsData), filled);
    }
    data.resize(std::min(data.size(), end));
    return data;
}

// Cuts the kept text into the lines that GetLine would read.
void cut_into_lines() {
    const std::string_view text = kept_file.text;
    const auto line_feeds = std::count(text.begin(), text.end(), '\n');
    const bool has_nul = text.find('\0') != std::string_view::npos;
    kept_file.lines.clear();
    kept_file.lines.reserve(1 + static_cast<std::size_t>(line_feeds));
    std::size_t start = 0;
    std::size_t white = 0; // bytes of the lines before that have nothing but white space
    for (bool at_end = false; !at_end;) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        at_end = end == text.size();
        if (!at_end && std::all_of(&text[start], &text[end], is_white_space)) {
            white += end - start;
        } else {
            // Their bytes go in front. Line feeds are among those that stand there, which makes no
            // difference: what counts of white space in front is only how much it is.
            const std::string_view line = text.substr(start - white, end - start + white);
            const std::size_t length = has_nul ? line.find('\0') : line.size();
            kept_file.lines.push_back({line.substr(0, length), LineKind::unknown, {}});
            white = 0;
        }
        start = end + 1;
    }
}

// Reads the file at `path` unless what is kept is its lines; false when it cannot be opened.
bool read_file(const char* path) {
    if (is_kept(path))
        return true;
    std::FILE* file = std::fopen(path, "r");
    if (file == nullptr)
        return false;
    struct stat found {};
    // Asked before the reading: a change while it lasts is a change afterwards.
    const std::optional<Version> version =
        fstat(fileno(file), &found) == 0 ? version_of(found) : std::nullopt;
    kept_file.reusable = version && version->seconds + kSlowestTick < std::time(nullptr);
    kept_file.version = version.value_or(Version{});
    kept_file.text = data_of(file, kept_file.version.size);
    kept_file.section.clear();
    cut_into_lines();
    std::fclose(file);
    return true;
}

std::string header_of(const char* section) {
    return std::string("[") + section + "]";
}

// The place behind the header of `section` in the kept lines.
std::optional<std::size_t> find_section(const char* section) {
    const std::string header = header_of(section);
    if (kept_file.section != header) {
        std::vector<Line>& lines = kept_file.lines;
        // The last line may end with the data and still be it.
        const auto found = std::find_if(lines.begin(), lines.end(),
                                        [&header](Line& line) { return is_header(line, header); });
        if (found == lines.end())
            return std::nullopt;
        kept_file.section = header;
        kept_file.section_at = static_cast<std::size_t>(found - lines.begin()) + 1;
    }
    return kept_file.section_at;
}

// The value of `key` in the kept lines from `at` on; `fallback` when the section ends, a line has
// no usable key, or the value is unusable.
void read_value(std::size_t at, std::string_view key, const char* fallback, std::string& value) {
    std::string_view token = fallback;
    for (; at < kept_file.lines.size(); ++at) {
        const Line& line = known(kept_file.lines[at]);
        if (line.kind != LineKind::entry)
            break;
        if (line.key == key) {
            take_value(token, line);
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

bool has_section(const char* section, const char* file) {
    return read_file(file) && find_section(section);
}

void GenericGetPrivateProfileString(const char* pSection, const char* pVarName,
                                    const char* pDefault, std::string& pValue, int /*nVal*/,
                                    const char* pFileName) {
    if (!read_file(pFileName)) {
        pValue = pDefault;
        return;
    }
    const std::optional<std::size_t> start =
        pSection == nullptr ? std::size_t{0} : find_section(pSection);
    if (start)
        read_value(*start, pVarName, pDefault, pValue);
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
    std::string text;
    if (pSection != nullptr) {
        const std::string header = header_of(pSection);
        for (int status = 0; status == 0;) {
            status = GetLine(text, pFile);
            Line line{text, LineKind::unknown, {}};
            if (is_header(line, header))
                return 0;
        }
        return -1;
    }
    GetLine(text, pFile);
    Line line{text, LineKind::unknown, {}};
    if (known(line).kind != LineKind::entry)
        return -1;
    std::string_view value;
    take_value(value, line);
    pVarName = line.key;
    pValue = value;
    return 0;
}

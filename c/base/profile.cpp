#include "base/profile.h"

#include "base/text.h"

namespace {

constexpr int kByteThatEndsData = 255;

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
    const std::size_t nul = line.find('\0');
    if (nul != std::string::npos)
        line.resize(nul);
    return result;
}

// The header in `line`, or null. Trailing white space of a header line is cut off in place.
const char* IsBlockHeader(std::string& line) {
    std::size_t white = 0;
    while (white < line.size() && is_white_space(line[white]))
        ++white;
    if (white == line.size() || line[white] != '[')
        return nullptr;
    // The search starts as far behind the bracket as the bracket is indented: a short indented
    // header is not one. Parameter files in the field rely on that.
    if (line.find(']', white + white) == std::string::npos)
        return nullptr;
    while (is_white_space(line.back()))
        line.pop_back();
    return line.c_str() + white;
}

// Reads on to just behind the header of `section`.
bool find_section(std::FILE* file, const char* section) {
    const std::string pattern = std::string("[") + section + "]";
    std::string line;
    for (int status = 0; status == 0;) {
        status = GetLine(line, file);
        // Compared from column 1: an indented header is a header, but never the wanted one. The
        // last line may end with the data and still be it.
        if (IsBlockHeader(line) != nullptr && line == pattern)
            return true;
    }
    return false;
}

// The value of `key` from where the stream stands; `fallback` when the section ends, a line has no
// usable key, or the value is unusable.
void read_value(std::FILE* file, const char* key, const char* fallback, std::string& value) {
    std::string line;
    std::string token;
    for (int status = 0; status == 0;) {
        status = GetLine(line, file);
        if (IsBlockHeader(line) != nullptr || GetToken(line.c_str(), token, false) != 0)
            break;
        if (token != key)
            continue;
        if (GetToken(nullptr, token, true) != 0)
            break;
        value = token;
        return;
    }
    value = fallback;
}

} // namespace

void TrimToken(std::string& Token) {
    std::size_t first = 0;
    while (first < Token.size() && is_white_space(Token[first]))
        ++first;
    if (first == Token.size())
        return;
    std::size_t end = Token.size();
    while (is_white_space(Token[end - 1]))
        --end;
    Token = Token.substr(first, end - first);
}

int GetToken(const char* psStrToBeParsed, std::string& token, bool bIgnoreSpace) {
    if (psStrToBeParsed != nullptr) {
        line_in_work = psStrToBeParsed;
        psRemainingString = 0;
    }
    const std::string& line = line_in_work;
    std::size_t at = psRemainingString;
    while (at < line.size() && is_white_space(line[at]))
        ++at;
    if (at >= line.size())
        return -1;

    std::size_t end = at;
    if (line[at] == '"') {
        ++at;
        end = line.find('"', at);
        if (end == std::string::npos) {
            psRemainingString = line.size();
            return -1;
        }
    } else {
        if (line[at] == '=')
            return -1;
        while (end < line.size() && line[end] != '=' &&
               (bIgnoreSpace || !is_white_space(line[end])))
            ++end;
    }
    std::string taken = line.substr(at, end - at);
    // Exactly one character is stepped over: after "KEY " the value then starts with the "=", which
    // makes it unusable.
    psRemainingString = end < line.size() ? end + 1 : end;
    TrimToken(taken);
    token = taken;
    return 0;
}

void GenericGetPrivateProfileString(const char* pSection, const char* pVarName,
                                    const char* pDefault, std::string& pValue, int /*nVal*/,
                                    const char* pFileName) {
    std::FILE* file = std::fopen(pFileName, "r");
    if (file == nullptr) {
        pValue = pDefault;
        return;
    }
    if (pSection == nullptr || find_section(file, pSection))
        read_value(file, pVarName, pDefault, pValue);
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
    if (pSection != nullptr)
        return find_section(pFile, pSection) ? 0 : -1;
    std::string line;
    GetLine(line, pFile);
    std::string token;
    if (IsBlockHeader(line) != nullptr || GetToken(line.c_str(), token, false) != 0)
        return -1;
    pVarName = token;
    if (GetToken(nullptr, token, true) != 0)
        token.clear();
    pValue = token;
    return 0;
}

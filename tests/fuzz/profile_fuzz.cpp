// Any bytes as a parameter file: the lookups, the iteration and the tokenizer.
#include "base/profile.h"
#include "fuzz_support.h"

#include <optional>

namespace {

constexpr const char* kFallback = "fallback";
constexpr const char* kUntouched = "untouched";
constexpr const char* kWhiteSpace = " \t\n\v\f\r";

struct Entry {
    std::string name;
    std::string value;
};

// Everything the reader hands out stands in the file, in one piece.
void require_from_file(std::string_view file, const std::string& value, const char* fallback) {
    require(value == fallback || occurs_in(file, value), "a value is a piece of the file");
}

std::string look_up(const char* section, const std::string& key, const char* fallback,
                    const std::string& path) {
    std::string value = kUntouched;
    GenericGetPrivateProfileString(section, key.c_str(), fallback, value, 1024, path.c_str());
    return value;
}

// The entries of `section` in their order, or nothing when there is no such section.
std::optional<std::vector<Entry>> entries_of(const std::string& section, std::string_view file,
                                             const std::string& path) {
    std::FILE* stream = std::fopen(path.c_str(), "r");
    std::optional<std::vector<Entry>> entries;
    std::string name = kUntouched;
    std::string value = kUntouched;
    if (GenericGetPrivateProfileVarAndString(section.c_str(), name, value, stream) == 0)
        entries.emplace();
    require(name == kUntouched && value == kUntouched, "going to a section reads no entry");
    while (entries && GenericGetPrivateProfileVarAndString(nullptr, name, value, stream) == 0) {
        require_from_file(file, name, "");
        require_from_file(file, value, "");
        entries->push_back({name, value});
        require(entries->size() <= file.size(), "the iteration ends");
    }
    std::fclose(stream);
    return entries;
}

// A lookup and the iteration read the same section.
void require_agreement(const std::optional<std::vector<Entry>>& entries, const std::string& key,
                       const std::string& value) {
    if (!entries) {
        require(value == kUntouched, "a missing section leaves the value as it was");
        return;
    }
    for (const Entry& entry : *entries) {
        if (entry.name != key)
            continue;
        // The iteration has the same empty value for a quoted nothing and for an unusable one.
        if (entry.value.empty())
            require(value.empty() || value == kFallback, "an unusable value is a missing one");
        else
            require(value == entry.value, "the first entry of a key decides");
        return;
    }
    require(value == kFallback, "a key that is not in its section has the fallback");
}

void check_token(const std::string& line, bool ignore_space) {
    std::string token = "before";
    if (GetToken(line.c_str(), token, ignore_space) != 0) {
        require(token == "before", "a missing token changes nothing");
        return;
    }
    const std::string_view text(line.c_str()); // it ends at a NUL
    require(occurs_in(text, token), "a token is a piece of its line");
    const std::size_t start = text.find_first_not_of(kWhiteSpace);
    require(start != std::string::npos, "a line of white space has no token");
    if (text[start] == '"')
        return;
    require(!token.empty() && !occurs_in(token, "="), "an equal sign ends a plain token");
    require(text.compare(start, token.size(), token) == 0, "a token stands first in its line");
    require(std::strchr(kWhiteSpace, token.back()) == nullptr, "no white space is left at its end");
    if (!ignore_space)
        require(token.find_first_of(kWhiteSpace) == std::string::npos, "white space ends a key");
}

} // namespace

// The first line is the section, the second the key, the rest the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view all = as_text(data, size);
    const std::size_t first = all.find('\n');
    const std::size_t second = first == std::string_view::npos ? first : all.find('\n', first + 1);
    if (second == std::string_view::npos)
        return 0;
    // Names are texts: they end at a NUL.
    const std::string section = std::string(all.substr(0, first)).c_str();
    const std::string key = std::string(all.substr(first + 1, second - first - 1)).c_str();
    const std::string_view file = all.substr(second + 1);
    static const std::string path = fuzz_directory() + "/parameters.ini";
    write_file(path, file);

    const std::string value = look_up(section.c_str(), key, kFallback, path);
    if (value != kUntouched)
        require_from_file(file, value, kFallback);
    require_agreement(entries_of(section, file, path), key, value);
    require_from_file(file, look_up(nullptr, key, kFallback, path), kFallback);

    std::string from_either = "";
    const int which = GenericGetPrivateProfileStringFromINI(
        section.c_str(), key.c_str(), key.c_str(), "", from_either, 1024, path.c_str());
    require(which == 1 || which == 2, "one of the two sections answers");
    require(which == 2 || !from_either.empty(), "the first section answers with something");
    require_from_file(file, from_either, "");
    const std::string in_first = look_up(section.c_str(), key, "", path);
    const std::string in_second = look_up(key.c_str(), key, "", path);
    if (which == 1)
        require(from_either == in_first, "the first section is looked at first");
    else
        require(from_either == in_second || in_second == kUntouched,
                "without an answer there the second section is looked at");

    const std::string line(file);
    check_token(line, true);
    check_token(line, false);
    return 0;
}

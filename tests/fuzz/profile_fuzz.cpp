// Any bytes as a parameter file: the lookups, the iteration and the tokenizer.
#include "fuzz_support.h"
#include "setupLauncher/profile.h"

namespace {

// Everything the reader hands out stands in the file, in one piece.
void require_from_file(std::string_view file, const std::string& value, const char* fallback) {
    require(value == fallback || occurs_in(file, value), "a value is a piece of the file");
}

} // namespace

// The first line is the section, the second the key, the rest the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view all = as_text(data, size);
    const std::size_t first = all.find('\n');
    const std::size_t second = first == std::string_view::npos ? first : all.find('\n', first + 1);
    if (second == std::string_view::npos)
        return 0;
    const std::string section(all.substr(0, first));
    const std::string key(all.substr(first + 1, second - first - 1));
    const std::string_view file = all.substr(second + 1);
    static const std::string path = fuzz_directory() + "/parameters.ini";
    write_file(path, file);

    for (const char* in : {section.c_str(), static_cast<const char*>(nullptr)}) {
        std::string value = "untouched";
        GenericGetPrivateProfileString(in, key.c_str(), "fallback", value, 1024, path.c_str());
        if (value != "untouched")
            require_from_file(file, value, "fallback");
        else
            require(in != nullptr || occurs_in(file, value), "only a missing section says nothing");
    }
    std::string value;
    const int which = GenericGetPrivateProfileStringFromINI(
        section.c_str(), key.c_str(), key.c_str(), "", value, 1024, path.c_str());
    require(which == 1 || which == 2, "one of the two sections answers");
    require(which == 2 || !value.empty(), "the first section answers with something");
    require_from_file(file, value, "");

    std::FILE* stream = std::fopen(path.c_str(), "r");
    std::string name;
    if (GenericGetPrivateProfileVarAndString(section.c_str(), name, value, stream) == 0) {
        std::size_t entries = 0;
        while (GenericGetPrivateProfileVarAndString(nullptr, name, value, stream) == 0) {
            require_from_file(file, name, "");
            require_from_file(file, value, "");
            require(++entries <= file.size(), "the iteration ends");
        }
    }
    std::fclose(stream);

    const std::string line(file);
    std::string token = "before";
    if (GetToken(line.c_str(), token, (size & 1U) != 0) == 0)
        require(occurs_in(line.c_str(), token), "a token is a piece of its line");
    else
        require(token == "before", "a missing token changes nothing");
    return 0;
}

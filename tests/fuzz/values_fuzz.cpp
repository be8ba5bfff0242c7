// Any text as a session variable, a path or a value in a joined command line.
#include "base/paths.h"
#include "base/text.h"
#include "fuzz_support.h"
#include "setupLauncher/locations.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <optional>

namespace {

constexpr const char* kKept = "kept";
constexpr const char* kWhiteSpace = " \t\n\v\f\r";

// The second piece of KEY=value; what ends it may differ from what begins it.
std::optional<std::string> second_piece(const std::string& argument, const char* end) {
    std::string work = argument;
    char* rest = nullptr;
    if (strtok_r(work.data(), "=", &rest) == nullptr)
        return std::nullopt;
    const char* value = strtok_r(nullptr, end, &rest);
    if (value == nullptr)
        return std::nullopt;
    return std::string(value + (*value == '"' ? 1 : 0));
}

// The value of BOOTSTRAP_LOC or JVM_OPTIONS, which may have blanks behind its closing quote.
std::string quoted_value(const std::string& argument, const char* end) {
    std::string value = second_piece(argument, end).value_or(kKept);
    std::size_t length = value.size();
    while (length > 0 && value[length - 1] == ' ')
        --length;
    if (length > 0 && value[length - 1] == '"')
        value.resize(length - 1);
    return value;
}

std::string absolute(const std::string& path) {
    char buffer[PATH_MAX + 1];
    return realpath(path.c_str(), buffer) == nullptr ? path : buffer;
}

void check_session_values(const std::string& argument) {
    std::string value = kKept;
    GetBootStrapLoc(value, argument);
    require(value == quoted_value(argument, "="), "a value stands between equal signs");
    require(value == kKept || occurs_in(argument, value), "a value is a piece of its argument");
    value = kKept;
    GetJvmOptions(value, argument);
    require(value == quoted_value(argument, "\""), "options may hold equal signs");
    require(value == kKept || occurs_in(argument, value), "options are a piece of their argument");

    std::optional<std::string> place = second_piece(argument, "=");
    if (place && place->ends_with('"'))
        place->pop_back();
    value = kKept;
    GetInventoryLoc(value, argument);
    require(value == (place ? absolute(*place) : kKept), "an inventory is made absolute");
    value = kKept;
    GetPrereqConfigLoc(value, argument, false);
    require(value == (place ? absolute(*place) : kKept), "a prerequisite location is the same");
    value = kKept;
    GetPrereqConfigLoc(value, argument, true);
    if (place) {
        const std::string directory = place->empty() ? kKept : place->substr(0, place->rfind('/'));
        require(value == absolute(directory + "/prereq"), "a file of the stage has it beside it");
    } else {
        require(value == kKept, "an argument without a value changes nothing");
    }
}

void check_line_values(const std::string& line, const std::string& name) {
    struct Way {
        void (*get)(std::string_view, const char*, std::string&);
        const char* end;
    };
    for (const Way& way :
         {Way{GetCommandLineArgValue, " -"}, Way{GetCommandLineArgValueSpaceDelim, " "}}) {
        std::string value = kKept;
        way.get(name, line.c_str(), value);
        const std::size_t at = line.find(name);
        if (line.empty() || at == std::string::npos) {
            require(value == kKept, "a name that is not there changes nothing");
            continue;
        }
        require(occurs_in(std::string_view(line).substr(at + name.size()), value),
                "a value is a piece of what follows its name");
        require(!occurs_in(value, way.end), "no value goes on behind its end");
        require(value.empty() || (std::strchr(kWhiteSpace, value.front()) == nullptr &&
                                  std::strchr(kWhiteSpace, value.back()) == nullptr),
                "a value has no white space around it");
        value = kKept;
        way.get(name, nullptr, value);
        require(value == kKept, "no line changes nothing");
    }
}

void check_startup_location(const std::string& argument) {
    std::string_view path = argument;
    if (path.starts_with("./"))
        path.remove_prefix(2);
    std::string directory;
    GetStartupLocation(argument, directory);
    if (occurs_in(path, "/"))
        require(path.starts_with(directory + "/") &&
                    !occurs_in(path.substr(directory.size() + 1), "/"),
                "the launcher lies in its directory");
    else
        require(directory == ".", "a name without a directory lies in the current one");
}

void check_numbers(const std::string& text) {
    const long whole = std::strtol(text.c_str(), nullptr, 10);
    require(leading_whole_number<long>(text) == whole, "a whole number is read as C reads it");
    require(leading_whole_number<int>(text) == std::clamp<long>(whole, INT_MIN, INT_MAX),
            "a number too large for its type is the largest of it");
    const double expected = std::strtod(text.c_str(), nullptr);
    const double number = leading_decimal_number(text);
    require(number == expected || (std::isnan(number) && std::isnan(expected)),
            "a decimal number is read as C reads it");
}

} // namespace

// The first line is the text, the second the name of a value in it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> lines = lines_of(as_text(data, size));
    const std::string& argument = lines[0];
    check_session_values(argument);
    check_line_values(argument, lines.size() > 1 ? lines[1] : "-paramFile");
    check_startup_location(argument);
    check_numbers(argument);

    std::string quoted = argument;
    StripQuotes(quoted);
    require(quoted.size() + 2 >= argument.size() && occurs_in(argument, quoted),
            "no more than two quotes go");
    std::string root;
    require(getRootDir(argument, root) == static_cast<int>(root.size()) && root.starts_with('/'),
            "a root component begins with a slash");
    require(root.find('/', 1) == std::string::npos, "a root component is a single one");
    std::string normal = argument;
    NormalizeDir(normal);
    require(argument == normal || argument == normal + "/", "one slash goes at the most");
    const std::string word = shell_word(argument);
    require(word == argument || (word.starts_with('\'') && word.ends_with('\'')),
            "a word is plain or in quotes");
    require(split(argument, ",") == pieces_of(argument, ","), "pieces are cut as C cuts them");
    if (const auto replaced = replace_str(argument.c_str()))
        require(replaced->size() <= argument.size(), "a replaced text does not grow");
    return 0;
}

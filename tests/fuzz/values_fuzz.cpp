// Any text as a session variable, a path or a value in a joined command line.
#include "fuzz_support.h"
#include "setupLauncher/locations.h"
#include "setupLauncher/paths.h"
#include "setupLauncher/text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> lines = lines_of(as_text(data, size));
    const std::string& argument = lines[0];
    const std::string name = lines.size() > 1 ? lines[1] : "-paramFile";

    std::string value = "kept";
    GetBootStrapLoc(value, argument);
    require(value == "kept" || occurs_in(argument, value), "a value is a piece of its argument");
    value = "kept";
    GetJvmOptions(value, argument);
    require(value == "kept" || occurs_in(argument, value), "options are a piece of their argument");
    GetInventoryLoc(value, argument);
    GetPrereqConfigLoc(value, argument, (size & 1U) != 0);

    value = "kept";
    GetCommandLineArgValue(name, argument.c_str(), value);
    require(value == "kept" || occurs_in(argument, value), "a value is a piece of the line");
    GetCommandLineArgValueSpaceDelim(name, argument.c_str(), value);

    std::string quoted = argument;
    StripQuotes(quoted);
    require(quoted.size() + 2 >= argument.size() && occurs_in(argument, quoted),
            "no more than two quotes go");
    std::string root;
    require(getRootDir(argument, root) == static_cast<int>(root.size()) && root.starts_with('/'),
            "a root component begins with a slash");
    std::string startup;
    GetStartupLocation(argument, startup);
    std::string normal = argument;
    NormalizeDir(normal);
    require(normal.size() + 1 >= argument.size(), "one slash goes at the most");
    const std::string word = shell_word(argument);
    require(word == argument || (word.starts_with('\'') && word.ends_with('\'')),
            "a word is plain or in quotes");
    for (const std::string& piece : split(argument, ","))
        require(!piece.empty() && !occurs_in(piece, ","), "pieces are whole and not empty");
    leading_whole_number<int>(argument);
    leading_whole_number<long>(argument);
    leading_decimal_number(argument);
    if (const auto replaced = replace_str(argument.c_str()))
        require(replaced->size() <= argument.size(), "a replaced text does not grow");
    return 0;
}

// Any output of the system's commands.
#include "fuzz_support.h"
#include "prereqchecks/patch_check.h"
#include "prereqchecks/system_checks.h"
#include "setupLauncher/text.h"

// The first line is what is required, the rest what a command printed.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view all = as_text(data, size);
    const std::size_t cut = all.find('\n');
    if (cut == std::string_view::npos)
        return 0;
    const std::string required(all.substr(0, cut));
    const std::string output(all.substr(cut + 1));

    const PatchLists lists = parse_patch_lists(output);
    for (const std::string* list : {&lists.installed, &lists.obsoleted}) {
        for (const std::string& id : split(*list, " "))
            require(occurs_in(output, id), "a patch id is a piece of the output");
        std::string found = "before";
        const bool higher = isHigherPatchInstalled(required, list->c_str(), found);
        require(!higher || !found.empty(), "a patch that will do has a name");
        require(found != "before", "the found patch is cleared");
    }
    require(parse_swap(output) >= 0, "swap is not negative");
    for (const char* phrase : {"processor operates at", "depth of root window: "}) {
        const auto token = token_after(output, phrase);
        if (token)
            require(occurs_in(output, *token) && !token->empty(),
                    "a token is a piece of the output");
    }
    colours_of_depth(leading_whole_number<int>(required));
    std::string words;
    require(FormatValue(required, words) == !words.empty(), "a list with items has words");
    return 0;
}

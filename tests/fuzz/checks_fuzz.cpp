// Any output of the system's commands.
#include "base/text.h"
#include "fuzz_support.h"
#include "prereqchecks/patch_check.h"
#include "prereqchecks/system_checks.h"

namespace {

// 2 to the power of `exponent`, doubled digit by digit.
std::string power_of_two(int exponent) {
    std::string digits = "1"; // the last one first
    for (int i = 0; i < exponent; ++i) {
        int carry = 0;
        for (char& digit : digits) {
            const int doubled = 2 * (digit - '0') + carry;
            digit = static_cast<char>('0' + doubled % 10);
            carry = doubled / 10;
        }
        if (carry > 0)
            digits += '1';
    }
    return {digits.rbegin(), digits.rend()};
}

void check_colours(int depth) {
    const std::optional<std::string> colours = colours_of_depth(depth);
    const bool named = (depth >= 0 && depth < 32) || depth == 32 || depth == 48 || depth == 64;
    require(colours.has_value() == named, "the depths that have a number of colours have one");
    if (colours)
        require(*colours == power_of_two(depth), "every plane doubles the colours");
}

// An amount of swap in megabytes.
double amount(const std::string& token) {
    for (const auto& [letter, megabytes] :
         {std::pair{'k', 1.0 / 1024}, {'m', 1.0}, {'g', 1024.0}}) {
        const std::size_t at = token.find(letter);
        if (at == std::string::npos)
            continue;
        const double number = std::strtod(token.substr(0, at).c_str(), nullptr);
        return number > 0 ? number * megabytes : 0;
    }
    return 0;
}

void check_swap(const std::string& output) {
    const double swap = parse_swap(output);
    require(swap >= 0, "swap is not negative");
    // C ends texts at a NUL, and reads numbers in base 16.
    if (output.find_first_of(std::string("\0xX", 3)) != std::string::npos)
        return;
    const std::vector<std::string> tokens = pieces_of(output, " ");
    double expected = 0;
    for (const char* label : {"=", "used,"}) {
        std::size_t at = 0;
        while (at < tokens.size() && tokens[at] != label)
            ++at;
        if (at + 1 < tokens.size())
            expected += amount(tokens[at + 1]);
    }
    require(swap == expected, "swap is what is used and what is available");
}

void check_patches(const std::string& required, const std::string& output) {
    const PatchLists lists = parse_patch_lists(output);
    for (const std::string* list : {&lists.installed, &lists.obsoleted}) {
        for (const std::string& id : split(*list, " "))
            require(occurs_in(output, id), "a patch id is a piece of the output");
        std::string found = "before";
        const bool higher = isHigherPatchInstalled(required, list->c_str(), found);
        require(!higher || !found.empty(), "a patch that will do has a name");
        require(found != "before", "the found patch is cleared");
    }
}

} // namespace

// The first line is what is required, the rest what a command printed.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view all = as_text(data, size);
    const std::size_t cut = all.find('\n');
    if (cut == std::string_view::npos)
        return 0;
    const std::string required(all.substr(0, cut));
    const std::string output(all.substr(cut + 1));

    check_patches(required, output);
    check_swap(output);
    check_colours(leading_whole_number<int>(required));
    for (const auto& [phrase, separators] :
         {std::pair{"processor operates at", "processor operates at"},
          {"depth of root window:", "depth of root window: "}}) {
        const std::optional<std::string> token = token_after(output, phrase, separators);
        require(!token || occurs_in(output, phrase), "without the phrase there is no token");
        if (!token)
            continue;
        require(occurs_in(output, *token) && !token->empty(), "a token is a piece of the output");
        require(token->find_first_of(separators) == std::string::npos,
                "the separators end a token");
    }
    std::string words;
    require(FormatValue(required, words) == !words.empty(), "a list with items has words");
    for (const std::string& item : split(required, ","))
        require(occurs_in(words, item), "every item is among the words");
    return 0;
}

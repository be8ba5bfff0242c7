#include "prereqchecks/patch_check.h"

#include "base/text.h"
#include "log/install_log.h"
#include "platform/signals.h"
#include "prereqchecks/command_output.h"
#include "prereqchecks/system_checks.h"

namespace {

constexpr const char* kPatchCommand = "/usr/bin/showrev -p";
constexpr std::string_view kPatchLabel = "Patch:";
constexpr std::size_t kLongestPatchNumber = 19;
constexpr std::size_t kLongestRevision = 9;

// Steps through a text token by token; the separators may change from one token to the next.
struct Tokens {
    std::string_view text;
    std::size_t at = 0;

    // Null data at the end.
    std::string_view next(std::string_view separators) {
        at = text.find_first_not_of(separators, at);
        if (at == std::string_view::npos) {
            at = text.size();
            return {};
        }
        std::size_t end = text.find_first_of(separators, at);
        if (end == std::string_view::npos)
            end = text.size();
        const std::string_view token = text.substr(at, end - at);
        at = end < text.size() ? end + 1 : end;
        return token;
    }
};

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

// Shows the text of `key` and a patch id behind it; both go into the report in English.
void report_patch(const char* key, const std::string& patch, CheckReport& checked) {
    show(key);
    nls_out(patch);
    checked.text += english_text(key) + patch;
}

// Looks for one required patch; true when it, or one that will do, is there.
bool find_patch(const std::string& patch, std::string_view text_before_list,
                const PatchLists& lists, CheckReport& checked) {
    report_patch("S_CHECKING_FOR_PATCH", patch, checked);
    if (contains(text_before_list, "Patch: " + patch + " ")) {
        report_patch("S_FOUND_PATCH", patch, checked);
        return true;
    }
    std::string installed;
    if (isHigherPatchInstalled(patch, lists.installed.c_str(), installed)) {
        report_patch("S_FOUND_PATCH", installed, checked);
        return true;
    }
    std::string obsoleted;
    if (isHigherPatchInstalled(patch, lists.obsoleted.c_str(), obsoleted)) {
        checked.fail("S_OBSOLETED_PATCH", obsoleted);
        return true;
    }
    if (!obsoleted.empty())
        checked.fail("S_OBSOLETED_PATCH", obsoleted);
    else if (!installed.empty())
        report_patch("S_FOUND_PATCH", installed, checked);
    else
        checked.fail("S_NOT_FOUND_PATCH");
    checked.fail("S_SFAILED");
    return false;
}

} // namespace

PatchLists parse_patch_lists(std::string_view output) {
    PatchLists lists;
    const std::size_t first = output.find("Patch: ");
    if (first == std::string_view::npos)
        return lists;
    Tokens tokens{output.substr(first), 0};
    std::string_view token = tokens.next(" ");
    while (!token.empty()) {
        const std::string_view installed = tokens.next(" ");
        if (installed.empty())
            break;
        lists.installed.append(installed).append(" ");
        tokens.next(" "); // the label of the list that follows
        for (token = tokens.next(" ,"); !token.empty() && !contains(token, "Requires:");
             token = tokens.next(" ,"))
            lists.obsoleted.append(token).append(" ");
        // Line feeds do not separate: the next label hangs on the end of its line.
        while (!token.empty() && !contains(token, kPatchLabel))
            token = tokens.next(" ");
    }
    return lists;
}

bool isHigherPatchInstalled(const std::string& patch, const char* command_out,
                            std::string& found_pat) {
    found_pat.clear();
    if (command_out == nullptr)
        return false;
    const std::size_t start = patch.find_first_not_of("- ");
    if (start == std::string::npos)
        return false;
    const std::size_t cut = patch.find_first_of("- ", start);
    const std::string number = patch.substr(start, cut - start);
    if (number.size() > kLongestPatchNumber)
        return false;
    const int required =
        cut == std::string::npos ? 0 : leading_whole_number<int>(patch.substr(cut + 1));
    if (required < 0)
        return false;

    const std::string_view list(command_out);
    std::size_t at = list.find(number);
    while (at != std::string_view::npos) {
        const std::size_t separator = list.find_first_of("- ", at);
        if (separator == std::string_view::npos)
            return false;
        std::size_t end = list.find(' ', separator + 1);
        if (end == std::string_view::npos)
            end = list.size();
        const std::string revision(list.substr(separator + 1, end - separator - 1));
        if (revision.size() > kLongestRevision)
            return false;
        const int installed = leading_whole_number<int>(revision);
        if (installed > 0) {
            found_pat.assign(number).append("-").append(revision);
            if (installed >= required)
                return true;
        }
        at = list.find(number, end);
    }
    return false;
}

int CheckPatchesInstalled(const std::string& value, const std::string& /*version*/,
                          const std::string& scratchLoc, int bLogPatchesToConsole) {
    report("S_CHECKING_FOR_PATCHES");
    logAndShowMsg(value, bLogPatchesToConsole);
    CheckReport checked;
    bool passed = true;
    const auto output = GetCommandOutputInEnglish(kPatchCommand, scratchLoc);
    if (noted_signal() != 0)
        return kCheckFailed;
    if (is_unusable(output)) {
        checked.fail("S_EXEC_FAILURE", kPatchCommand);
        passed = false;
    }
    if (output) {
        const PatchLists lists = parse_patch_lists(*output);
        const std::string_view text(*output);
        const std::size_t first = text.find("Patch: ");
        const std::string_view text_before_list =
            first == std::string_view::npos ? text : text.substr(0, first + kPatchLabel.size());
        for (const std::string& patch : split(value, ","))
            passed = find_patch(patch, text_before_list, lists, checked) && passed;
    }
    report(passed ? "S_SPASSED" : "S_SFAILED");
    writeToInstallLog(checked.text);
    return passed ? kCheckPassed : kCheckFailed;
}

// The single system checks, and the shape that they share.
//
// Owns: what each check of a prerequisite section measures, shows and records, except the patches
// (patch_check). Leaves to others: which checks are asked for and what a failure leads to
// (prereq_driver), running commands (command_output).
//
// Every check says what is checked, what was found and the verdict, on the console and in the
// install log, and returns 0 for passed and 1 for failed. With a signal noted while its command ran
// it says nothing more.
#pragma once

#include "log/install_log.h"

#include <optional>
#include <string>
#include <string_view>

inline constexpr int kCheckPassed = 0;
inline constexpr int kCheckFailed = 1;

// The English texts of what a check found wrong; they follow its verdict in the install log.
struct CheckReport {
    std::string text;

    // Shows the text of `key` and keeps its English form.
    template <typename... Args>
    void fail(const char* key, const Args&... args) {
        show(key, args...);
        text += english_text(key, {FormatArg(args)...});
    }
};

// Reports the verdict, records what `checked` holds after a failure, and returns the result.
int close_check(bool passed, const CheckReport& checked);

// Turns a list separated by commas into words: "a,b,c" becomes "a, b or c". False, with an empty
// `printbuf`, when there is no item.
bool FormatValue(std::string_view value, std::string& printbuf);

// The release of the system against the list `value`. `version` becomes the item that is equal, or
// the last one.
int CheckCertifiedVersion(const std::string& value, std::string& version,
                          const std::string& scratchLoc);
// Every package of the list `value` is installed; all are looked at.
int CheckPackagesInstalled(const std::string& value, const std::string& version,
                           const std::string& scratchLoc);
// The hardware's name is in the list `value`.
int CheckProcessorType(const std::string& value);
// The first processor runs at `value` MHz or more.
int CheckCPUSpeed(const std::string& value, const std::string& scratchLoc);
// The display has `value` colours or more.
int CheckDisplayCols(const std::string& value, const std::string& scratchLoc);
// The scratch directory's file system has `value` megabytes free; a value of 0 or less passes.
int CheckTempSpace(const std::string& value, const std::string& scratchLoc);
// There are `value` megabytes of swap; a value of 0 or less fails, unlike the one above.
int CheckSwap(const std::string& value, const std::string& version, const std::string& scratchLoc);

// What the checks read from the commands' output, open to the unit tests.
// The first token behind `phrase`, cut at any character of `separators`, which holds those of the
// phrase; nothing without the phrase or behind it.
std::optional<std::string> token_after(std::string_view output, std::string_view phrase,
                                       std::string_view separators);
// Used and available swap of "swap -s" together, in megabytes.
double parse_swap(std::string_view output);
// The number of colours of a display depth, or nothing for a depth beyond naming.
std::optional<std::string> colours_of_depth(int depth);

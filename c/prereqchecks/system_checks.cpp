#include "prereqchecks/system_checks.h"

#include "base/paths.h"
#include "base/text.h"
#include "platform/signals.h"
#include "platform/system_names.h"
#include "prereqchecks/command_output.h"

#include <climits>
#include <vector>

namespace {

constexpr const char* kPackageCommand = "/usr/bin/pkginfo";
constexpr const char* kProcessorCommand = "/usr/sbin/psrinfo -v";
constexpr const char* kSwapCommand = "/usr/sbin/swap -s";
constexpr const char* kDisplayCommand = "/usr/openwin/bin/xdpyinfo";
constexpr const char* kDisplayCommandFallback = "/usr/bin/xdpyinfo";
constexpr const char* kSpeedPhrase = "processor operates at";
constexpr const char* kDepthPhrase = "depth of root window:";
constexpr const char* kDepthSeparators = "depth of root window: ";
constexpr int kDepthBeyondCounting = 32;
constexpr double kKilobytesPerMegabyte = 1024;

// Shows and records the list `value` in words.
void report_list(const std::string& value) {
    std::string words;
    FormatValue(value, words);
    logAndShowMsg(words, 1);
}

// `item` as arguments of a command. Blanks may stay, they only separate; anything else that a shell
// would act on is quoted.
std::string command_arguments(const std::string& item) {
    for (const std::string& word : split(item, " ")) {
        if (shell_word(word) != word)
            return shell_word(item);
    }
    return item;
}

// An amount with its unit letter, in megabytes; without a letter, or not above 0, it adds nothing.
double amount_in_megabytes(const std::string& amount) {
    struct Unit {
        char letter;
        double megabytes;
    };
    constexpr Unit units[] = {{'k', 1 / kKilobytesPerMegabyte}, {'m', 1}, {'g', 1024}};
    for (const Unit& unit : units) {
        const std::size_t at = amount.find(unit.letter);
        if (at != std::string::npos) {
            const double number = leading_decimal_number(std::string_view(amount).substr(0, at));
            return number > 0 ? number * unit.megabytes : 0;
        }
    }
    return 0;
}

// A number of megabytes cut to a whole one for the eye.
long long whole(double megabytes) {
    constexpr double largest = 9e18; // what a long long holds for certain
    return megabytes >= largest ? LLONG_MAX : static_cast<long long>(megabytes);
}

// Runs the display program of this system. The output that counts is that of one more run of the
// program found: the X server may only have been started by the first.
std::optional<std::string> display_output(std::string& command, const std::string& scratchLoc) {
    command = kDisplayCommand;
    const auto first = GetCommandOutputInEnglish(command, scratchLoc);
    if (first && (first->find("No such file") != std::string::npos ||
                  first->find("not found") != std::string::npos)) {
        command = kDisplayCommandFallback;
        GetCommandOutputInEnglish(command, scratchLoc);
    }
    return GetCommandOutputInEnglish(command, scratchLoc);
}

double measured_swap(double required, const std::string& scratchLoc) {
    if (!(required > 0))
        return 0;
    const auto output = GetCommandOutputInEnglish(kSwapCommand, scratchLoc);
    return is_unusable(output) ? 0 : parse_swap(*output);
}

} // namespace

int close_check(bool passed, const CheckReport& checked) {
    if (passed) {
        report("S_SPASSED");
        return kCheckPassed;
    }
    report("S_SFAILED");
    writeToInstallLog(checked.text);
    return kCheckFailed;
}

bool FormatValue(std::string_view value, std::string& printbuf) {
    printbuf.clear();
    const std::vector<std::string> items = split(value, ",");
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i > 0)
            printbuf += i + 1 == items.size() ? " or " : ", ";
        printbuf += items[i];
    }
    return !items.empty();
}

std::optional<std::string> token_after(std::string_view output, std::string_view phrase,
                                       std::string_view separators) {
    const std::size_t at = output.find(phrase);
    if (at == std::string_view::npos)
        return std::nullopt;
    // The phrase's characters separate, so the phrase itself vanishes along with the blanks.
    const std::vector<std::string> tokens = split(output.substr(at), separators);
    if (tokens.empty())
        return std::nullopt;
    return tokens.front();
}

double parse_swap(std::string_view output) {
    const std::vector<std::string> tokens = split(output, " ");
    double swap = 0;
    for (const std::string_view label : {"=", "used,"}) {
        for (std::size_t i = 0; i + 1 < tokens.size(); ++i) {
            if (tokens[i] == label) {
                swap += amount_in_megabytes(tokens[i + 1]);
                break;
            }
        }
    }
    return swap;
}

std::optional<std::string> colours_of_depth(int depth) {
    struct DeepDisplay {
        int depth;
        const char* colours;
    };
    constexpr DeepDisplay deep_displays[] = {
        {32, "4294967296"}, {48, "281474976710656"}, {64, "18446744073709551616"}};
    for (const DeepDisplay& display : deep_displays) {
        if (depth == display.depth)
            return display.colours;
    }
    if (depth >= kDepthBeyondCounting || depth < 0)
        return std::nullopt;
    return std::to_string(1LL << depth);
}

int CheckCertifiedVersion(const std::string& value, std::string& version,
                          const std::string& /*scratchLoc*/) {
    report("S_CHECKING_FOR_OS_VERSION");
    report_list(value);
    const std::string release = getOSVersion();
    report("S_ACTUAL", release);
    for (const std::string& item : split(value, ",")) {
        version = item;
        if (item == release) {
            report("S_SPASSED_ON_NEWLINE");
            return kCheckPassed;
        }
    }
    report("S_SFAILED_ON_NEWLINE");
    return kCheckFailed;
}

int CheckPackagesInstalled(const std::string& value, const std::string& /*version*/,
                           const std::string& scratchLoc) {
    report("S_CHECKING_FOR_PACKAGES");
    logAndShowMsg(value, 1);
    CheckReport checked;
    bool passed = true;
    for (const std::string& item : split(value, ",")) {
        const std::string command = std::string(kPackageCommand) + " " + command_arguments(item);
        const auto output = GetCommandOutputInEnglish(command, scratchLoc);
        if (noted_signal() != 0)
            return kCheckFailed;
        if (is_unusable(output)) {
            checked.fail("S_EXEC_FAILURE", std::string(kPackageCommand) + " " + item);
            passed = false;
        } else if (output->find("was not found") != std::string::npos ||
                   output->find(item) == std::string::npos) {
            checked.fail("S_CHECK_FOR_PACKAGE_FAILED", item);
            passed = false;
        }
    }
    return close_check(passed, checked);
}

int CheckProcessorType(const std::string& value) {
    report("S_CHECKING_FOR_PROCESSOR");
    report_list(value);
    const std::string machine = getMachineName();
    bool passed = false;
    for (const std::string& item : split(value, ","))
        passed = passed || item == machine;
    return close_check(passed, {});
}

int CheckCPUSpeed(const std::string& value, const std::string& scratchLoc) {
    report("S_CHECKING_FOR_CPU", value);
    CheckReport checked;
    const auto output = GetCommandOutputInEnglish(kProcessorCommand, scratchLoc);
    if (noted_signal() != 0)
        return kCheckFailed;
    if (is_unusable(output)) {
        checked.fail("S_EXEC_FAILURE", kProcessorCommand);
        return close_check(false, checked);
    }
    const int speed =
        leading_whole_number<int>(token_after(*output, kSpeedPhrase, kSpeedPhrase).value_or(""));
    if (speed <= 0) {
        checked.fail("S_AUTO_CHECK_FOR_CPU_FAILED", kProcessorCommand);
        return close_check(false, checked);
    }
    report("S_ACTUAL", std::to_string(speed) + " " + "MHz");
    const int required = leading_whole_number<int>(value);
    return close_check(required >= 1 && speed >= required, checked);
}

int CheckDisplayCols(const std::string& value, const std::string& scratchLoc) {
    report("S_CHECKING_FOR_DISP_COL", value);
    CheckReport checked;
    std::string command;
    const auto output = display_output(command, scratchLoc);
    if (noted_signal() != 0)
        return kCheckFailed;
    if (is_unusable(output)) {
        checked.fail("S_EXEC_FAILURE", command);
        return close_check(false, checked);
    }
    const double measured =
        leading_decimal_number(token_after(*output, kDepthPhrase, kDepthSeparators).value_or(""));
    const int depth = measured > 0 && measured < INT_MAX ? static_cast<int>(measured) : 0;
    if (depth <= 0) {
        checked.fail("S_AUTO_CHECK_FOR_DISPLAY_FAILED", command);
        return close_check(false, checked);
    }
    const auto colours = colours_of_depth(depth);
    show("S_ACTUAL", colours.value_or(localised_text("S_HIGHER_THAN", {value})));
    record("S_ACTUAL", colours.value_or(english_text("S_HIGHER_THAN", {value})));
    const double required = leading_decimal_number(value);
    const bool enough =
        depth >= kDepthBeyondCounting || required <= static_cast<double>(1LL << depth);
    return close_check(required > 0 && enough, checked);
}

int CheckTempSpace(const std::string& value, const std::string& scratchLoc) {
    const double required = leading_decimal_number(value);
    const double free_space = required > 0 ? getFreeSpaceForVolume(scratchLoc) : 0;
    const bool passed = !(required > free_space);
    if (passed) {
        report("S_CHECKING_FOR_TEMP_SPACE", value);
        report("S_ACTUAL_TEMP_SPACE", whole(free_space));
    } else {
        report("S_FAIL_CHECKING_FOR_TEMP_SPACE", whole(free_space), value);
    }
    return close_check(passed, {});
}

int CheckSwap(const std::string& value, const std::string& /*version*/,
              const std::string& scratchLoc) {
    const double required = leading_decimal_number(value);
    const double swap = measured_swap(required, scratchLoc);
    if (noted_signal() != 0)
        return kCheckFailed;
    const bool passed = required > 0 && swap >= required;
    if (passed) {
        report("S_CHECKING_FOR_SWAP", value);
        report("S_ACTUAL_SWAP", whole(swap));
    } else {
        report("S_FAIL_CHECKING_FOR_SWAP", whole(swap), value);
    }
    return close_check(passed, {});
}

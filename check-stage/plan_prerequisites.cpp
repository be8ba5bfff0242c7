#include "plan_prerequisites.h"

#include "base/launcher_state.h"
#include "base/text.h"
#include "log/install_log.h"
#include "plan_text.h"
#include "platform/system_names.h"
#include "prereqchecks/command_output.h"
#include "prereqchecks/prereq_driver.h"

#include <algorithm>

namespace {

enum class Verdict { passes, fails, unknown };

bool lists(const std::string& value, const std::string& item) {
    const std::vector<std::string> items = split(value, ",");
    return std::find(items.begin(), items.end(), item) != items.end();
}

Verdict verdict_of(const PrereqPlan& plan, const std::string& key, const std::string& value) {
    if (key == "PROCESSOR")
        return lists(value, getMachineName()) ? Verdict::passes : Verdict::fails;
    const double number = leading_decimal_number(value);
    if (key == "TEMP_SPACE")
        return number > 0 && number > getFreeSpaceForVolume(plan.scratch_base) ? Verdict::fails
                                                                               : Verdict::passes;
    if (key == "CPU")
        return leading_whole_number<int>(value) > 0 ? Verdict::unknown : Verdict::fails;
    const bool is_number = key == "SWAP_SPACE" || key == "MIN_DISPLAY_COLORS";
    return is_number && !(number > 0) ? Verdict::fails : Verdict::unknown;
}

// Goes through the checks of a section; whether one of them is known to fail.
bool section_fails(const PrereqPlan& plan, const std::string& section, bool generic) {
    bool failed = false;
    for (const ParameterLine* line : entries_of(plan.file, section)) {
        for (const PrereqCheck& check : prereq_checks()) {
            if (line->key != check.key || !line->has_value || line->value.empty())
                continue;
            const bool hidden = launcher_state::_bSilent && line->key == "MIN_DISPLAY_COLORS";
            if ((check.generic_only && !generic) || hidden)
                continue;
            const Verdict verdict = verdict_of(plan, line->key, line->value);
            const char* words = verdict == Verdict::passes  ? "passes"
                                : verdict == Verdict::fails ? "fails"
                                                            : "needs a command, assumed to pass";
            say("[" + section + "] " + line->key + "=" + line->value + ": " + words);
            failed = failed || verdict == Verdict::fails;
        }
    }
    return failed;
}

// What follows from a failed phase; true when the launch ends.
bool settle_failure(const PrereqPlan& plan, const std::string& failure, std::string& message) {
    if (plan.command_line.bIgnoreSysPreReqs) {
        say("the failure is ignored");
        return false;
    }
    if (launcher_state::_bSilent || plan.command_line._bNoConsole) {
        message = failure + localised_text("S_EXIT_MSG", {plan.log});
        return true;
    }
    say("the operator is asked whether to go on; the plan goes on");
    return false;
}

std::string value_in(const PrereqPlan& plan, const char* key) {
    const ParameterLine* line = deciding_line(plan.file, kCertifiedSection, key);
    return line != nullptr && line->has_value ? line->value : "";
}

std::string failed_texts() {
    return localised_text("S_FAILED_PRE_REQ_1") + localised_text("S_FAILED_PRE_REQ_2");
}

} // namespace

bool prerequisites_end_launch(const PrereqPlan& plan, std::string& message) {
    say_headline("prerequisites:");
    if (entries_of(plan.file, kGenericSection).empty() && !plan.platform_checks)
        say("none");
    const bool generic_failed = section_fails(plan, kGenericSection, true);
    if (plan.command_line.bExecuteSysPreReqs) {
        message = localised_text("S_EXIT_MSG", {plan.log});
        return true;
    }
    if (generic_failed && settle_failure(plan, failed_texts(), message))
        return true;
    const bool answered = generic_failed && !plan.command_line.bIgnoreSysPreReqs;
    const std::string certified = value_in(plan, kPlatform);
    if (!plan.platform_checks || answered || certified.empty())
        return false;
    const std::string release = getOSVersion();
    const bool is_certified = lists(certified, release);
    say(std::string("[") + kCertifiedSection + "] " + kPlatform + "=" + certified + ": " + release +
        (is_certified ? " is certified" : " is not certified"));
    if (!is_certified) {
        if (plan.command_line.bIgnoreSysPreReqs)
            return false;
        const bool warns = value_in(plan, "CERTIFIED_VERSION_WARN") == "TRUE";
        if (warns && !launcher_state::_bSilent) {
            say("the operator is asked whether to go on; the plan goes on");
            return false;
        }
        message = value_in(plan, "CERTIFIED_VERSION_FAILURE_MESSAGE") + "\n" +
                  localised_text("S_EXIT_MSG", {plan.log});
        return true;
    }
    const std::string of_version = std::string(kPlatform) + "-" + release;
    if (section_fails(plan, of_version + kRequiredSuffix, false)) {
        if (settle_failure(plan, failed_texts(), message))
            return true;
        if (!plan.command_line.bIgnoreSysPreReqs)
            return false;
    }
    return section_fails(plan, of_version + kOptionalSuffix, false) &&
           settle_failure(plan, localised_text("S_FAILED_OPTIONAL"), message);
}

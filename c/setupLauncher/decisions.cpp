#include "setupLauncher/decisions.h"

#include "base/launcher_state.h"
#include "base/paths.h"
#include "base/text.h"
#include "setupLauncher/locations.h"

bool is_on(const std::string& setting) {
    return setting.starts_with('T');
}

void decide_start_location(const CommandLine& command_line, const std::string& curDir,
                           bool have_current, Settings& settings, std::string& original) {
    GetStartupLocation(command_line.arguments.front(), settings.startupLoc);
    original = settings.startupLoc;
    if (!command_line.bShipHomeLocation)
        return;
    settings.startupLoc = command_line.sAlternativeStartupLoc;
    StripQuotes(settings.startupLoc);
    original = have_current ? curDir : settings.startupLoc;
}

std::optional<long> bootstrap_size(const Settings& settings) {
    const long size = leading_whole_number<long>(settings.bootStrapSz);
    if (size < 0 || size > kLargestBootstrapSize)
        return std::nullopt;
    return size;
}

RuntimeOrigin decide_on_runtime(const CommandLine& command_line, const Settings& settings) {
    if (launcher_state::_bJreLocation)
        return RuntimeOrigin::given;
    if (command_line.bBootStrapOnly || !settings.jreDirLoc.empty() || !settings.jreFullLoc.empty())
        return RuntimeOrigin::brought;
    return launcher_state::disableJrePrompt == "TRUE" ? RuntimeOrigin::none_allowed
                                                      : RuntimeOrigin::asked;
}

std::optional<int> mask_of(const std::string& text) {
    if (text.size() != 3 || text.find_first_not_of("01234567") != std::string::npos)
        return std::nullopt;
    return (text[0] - '0') * 64 + (text[1] - '0') * 8 + (text[2] - '0');
}

bool waits_for_installer(const CommandLine& command_line, const Settings& settings) {
    // Without a bootstrap the installer runs from its home, as the script that called expects.
    return !is_on(settings.bootStrap) || is_on(settings.bWaitSync) || command_line.bCmdWait ||
           command_line.bCleanup || command_line.bSaveInventory;
}

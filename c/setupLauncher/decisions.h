// What a launch decides before it acts, from the command line and the settings alone.
//
// Owns: the rules for the start location, the bootstrap's size, the Java runtime, the mask and the
// waiting. Leaves to others: doing and saying what follows (launch). Nothing here touches a file,
// so that who only wants to know what a launch would do can ask the same rules.
#pragma once

#include "setupLauncher/options.h"
#include "setupLauncher/settings.h"

#include <optional>
#include <string>

// The keys of the launcher's section that the launch itself reads.
inline constexpr const char* kPlatformChecksKey = "PLATFORM_PREREQS";
inline constexpr const char* kMaskKey = "UMASK";

// The largest bootstrap size in megabytes that fits a long as bytes.
inline constexpr long kLargestBootstrapSize = 8796093022207; // 0x7FFFFFFFFFF

// Whether a setting of the form T... or F... is on.
bool is_on(const std::string& setting);

// Where the launcher starts from: `settings.startupLoc`, and `original` as it was before a parent
// launcher's word replaced it. `curDir` is the current directory when `have_current`.
void decide_start_location(const CommandLine& command_line, const std::string& curDir,
                           bool have_current, Settings& settings, std::string& original);

// The bootstrap's size in megabytes, or nothing when it is out of range.
std::optional<long> bootstrap_size(const Settings& settings);

// Where the Java runtime of a bootstrapping launch comes from.
enum class RuntimeOrigin {
    brought,      // the bootstrap brings it
    given,        // the command line named it
    asked,        // the operator is asked
    none_allowed, // nobody knows one, and no question is allowed
};
RuntimeOrigin decide_on_runtime(const CommandLine& command_line, const Settings& settings);

// The mask that `text` stands for: three octal digits; nothing for any other text.
std::optional<int> mask_of(const std::string& text);

// Whether the launcher waits for the installer.
bool waits_for_installer(const CommandLine& command_line, const Settings& settings);

// What of a launch's bootstrap can be foretold.
//
// Owns: which Java runtime it would take, the telling of what would be brought, whether it all
// could be, and with what step a bootstrap would fail. Leaves to others: what is brought and what
// has arrived in the end (shipment, cargo), where a brought runtime lies (runtime), the rules by
// which a launch decides (setupLauncher/decisions, the launcher's own).
#pragma once

#include "cargo.h"
#include "places.h"
#include "setupLauncher/options.h"
#include "setupLauncher/settings.h"

#include <string>

// Stands for the Java home that the operator would be asked for.
inline constexpr const char* kAnswer = "ANSWER";

struct BootstrapPlan {
    const Places& places;
    const CommandLine& command_line;
    std::string current_directory; // images lie in it or one level up
    std::string original_start;    // the start directory before a parent launcher replaced it
    std::string scratch;           // its name
    std::string scratch_base;      // on its file system the space is measured
};

struct Brought {
    Cargo cargo;
    bool uses_outside_runtime = false; // java is none of the cargo
};

// Says which runtime a launch takes and what it brings; the process is in the start directory, and
// the locations in `settings` become those behind the bootstrap. True when the launch ends, which
// is said too.
bool bootstrap_ends_launch(Brought& brought, Settings& settings, const BootstrapPlan& plan);

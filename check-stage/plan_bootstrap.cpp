#include "plan_bootstrap.h"

#include "base/status.h"
#include "bootstrap/stage_layout.h"
#include "bootstrap/tree.h"
#include "bootstrap/tree_walk.h"
#include "findings.h"
#include "log/install_log.h"
#include "plan_text.h"
#include "quiet_files.h"
#include "runtime.h"
#include "setupLauncher/decisions.h"
#include "shipment.h"

#include <unistd.h>

namespace {

std::string megabytes(std::uint64_t bytes) {
    const std::uint64_t tenths = (bytes * 10 + (1 << 19)) >> 20;
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " MB";
}

void say_cargo(const Places& places, const Shipment& shipment, const Cargo& cargo) {
    say_headline("brought to the scratch directory, in this order:");
    for (std::size_t at = 0; at < shipment.sources.size(); ++at) {
        const Source& source = shipment.sources[at];
        const bool archives = source.kind == Source::Kind::archives;
        const std::string to = source.to.empty() ? "" : " to " + source.to;
        say(source.what + ": " +
            (!source.is_there ? "nothing, there is no "
                              : std::string(archives ? "unpacked" : "copied") + to + ", " +
                                    megabytes(cargo.unpacked[at]) + " from ") +
            absolute_path(places, source.from));
    }
    say("in all " + counted(cargo.files.size(), "file") + ", " +
        std::to_string(megabytes_needed(cargo)) + " MB on disk");
}

// Where a bootstrap fails, as the launch names it.
struct BootstrapEnd {
    std::string reason; // empty for one that goes well
    const char* step = "";
    std::string component;
};

// Whether every file of the tree at `root` can be read by this user. Directories that cannot are
// left out by a launch without a word.
bool can_be_copied(const std::string& root) {
    TreeWalk walk = walk_over(root);
    bool readable = true;
    while (readable && next_step(walk)) {
        give_way_to_signals();
        if (walk.step != WalkStep::kFile)
            continue;
        const std::string path = entry_path(walk);
        // Pipes and devices are passed over.
        readable = kind_of(path) == FileKind::other || access(path.c_str(), R_OK) == 0;
    }
    end_walk(walk);
    return readable && walk.incomplete == 0;
}

// What ends the bootstrap at the source at place `at` of the shipment.
BootstrapEnd end_at_source(const Shipment& shipment, const Cargo& cargo, std::size_t at) {
    const Source& source = shipment.sources[at];
    if (!source.required)
        return {};
    if (source.kind == Source::Kind::tree) {
        if (cargo.hindered.contains(at) || !can_be_copied(source.from))
            return {source.what + " cannot be copied", "S_STEP_COPYING", source.given};
        return {};
    }
    const bool is_runtime = shipment.brings_runtime && at == shipment.runtime_source;
    if (is_runtime && shipment.has_no_runtime)
        return {"there is no runtime to bring", "S_STEP_RUNTIME", kRuntime};
    // A launch speaks of the runtime, even where a kit stands in for it.
    const std::string component = is_runtime ? kRuntime : source.what;
    if (cargo.hindered.contains(at) || !unpacks(source.from))
        return {source.what + " cannot be unpacked", "S_STEP_UNPACKING", component};
    if (is_runtime && names_in(cargo, "jre").empty())
        return {"the runtime brings nothing below jre/", "S_STEP_RUNTIME", kRuntime};
    return {};
}

// `free_space` is in kilobytes, `size` in megabytes.
BootstrapEnd end_of_bootstrap(const Shipment& shipment, const Cargo& cargo, long free_space,
                              long size) {
    if (free_space < size << 10)
        return {"there are " + std::to_string(free_space >> 10) + " of " + std::to_string(size) +
                    " MB free",
                "S_STEP_SPACE", "BOOTSTRAP_SIZE"};
    for (std::size_t at = 0; at < shipment.sources.size(); ++at) {
        BootstrapEnd end = end_at_source(shipment, cargo, at);
        if (!end.reason.empty())
            return end;
    }
    return {};
}

} // namespace

bool bootstrap_ends_launch(Brought& brought, Settings& settings, const BootstrapPlan& plan) {
    const std::optional<long> size = bootstrap_size(settings);
    if (!size) {
        say_headline("no bootstrap:");
        say_message(localised_text("S_ERBOOTSTRAP_RANGE", {kLargestBootstrapSize}));
        return false;
    }
    const RuntimeOrigin origin = decide_on_runtime(plan.command_line, settings);
    say_headline("Java runtime:");
    if (origin == RuntimeOrigin::none_allowed) {
        say_end("at the choice of a Java runtime", kOk,
                localised_text("S_JRELOC_ERROR_NOCONSOLE_WIN"));
        return true;
    }
    if (origin == RuntimeOrigin::asked) {
        say(std::string("the operator is asked for its home, which is called ") + kAnswer +
            " here");
        settings.jreDirLoc = kAnswer;
    }
    if (origin == RuntimeOrigin::given)
        say("the one of the command line: " + settings.jreDirLoc);
    brought.uses_outside_runtime = origin != RuntimeOrigin::brought;

    const long free_space = getFreeSpace(plan.scratch_base);
    std::string images;
    GetImageLoc(plan.current_directory, images);
    const Shipment shipment = shipment_of(settings, plan.command_line, plan.original_start, images,
                                          origin == RuntimeOrigin::brought, true);
    brought.cargo = load_cargo(plan.places, shipment, {}, false);
    settle_runtime(settings, shipment, brought.cargo);
    if (origin == RuntimeOrigin::brought)
        say("brought by the launch: " + settings.jreDirLoc);
    say_cargo(plan.places, shipment, brought.cargo);

    const BootstrapEnd end = end_of_bootstrap(shipment, brought.cargo, free_space, *size);
    if (end.reason.empty())
        return false;
    say_end("in the bootstrap (" + end.reason + ")", kFailed,
            localised_text("S_BOOTSTRAP_FAILED",
                           {plan.scratch, localised_text(end.step), end.component}));
    return true;
}

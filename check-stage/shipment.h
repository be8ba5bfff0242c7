// What a launch brings to its scratch directory, and from where.
//
// Owns: the order in which components, trees and single directories arrive, the locations as they
// are afterwards, and where bringing them ends early. Leaves to others: the layout of a stage and
// the choice of versions (bootstrap/stage_layout, the launcher's own), what is in an archive
// (archives), what has arrived in the end (cargo).
#pragma once

#include "setupLauncher/options.h"
#include "setupLauncher/settings.h"

#include <string>
#include <vector>

// One thing that is brought.
struct Source {
    enum class Kind {
        archives, // every jar of a directory is unpacked
        tree,     // a tree is copied
    };
    Kind kind = Kind::archives;
    std::string what;      // "talvex.swd.zul", "images"...
    std::string from;      // absolute
    std::string given;     // as a launch names it
    std::string to;        // below the scratch directory; empty for itself
    bool required = false; // a launch ends when what is there of it cannot be brought
    bool is_there = false;
};

struct Shipment {
    std::vector<Source> sources; // in the order in which they arrive
    bool has_no_runtime = false; // neither a runtime nor a kit is there to be brought
    bool runtime_is_kit = false;
    bool brings_runtime = false;    // as a component: its home is known once it is unpacked
    std::size_t runtime_source = 0; // that component's place among the sources
    // A runtime given beforehand overrides it when it is there after this many sources.
    std::size_t sources_before_given_runtime = 0;
};

// What a launch with these settings brings. The process is in the start directory, and the
// locations in `settings` become those in the scratch directory. `image_location` is empty without
// images.
Shipment shipment_of(Settings& settings, const CommandLine& command_line,
                     const std::string& original_start, const std::string& image_location,
                     bool brings_runtime, bool thorough);

#include "shipment.h"

#include "archives.h"
#include "base/launcher_state.h"
#include "base/paths.h"
#include "bootstrap/stage_layout.h"
#include "setupLauncher/scratch.h"

#include <unistd.h>

namespace {

struct Selection {
    bool zul = false;
    bool core = false;
    bool minimal_core = false;
    bool patch_tool = false;
    bool runtime = false;
};

// `path` as it is from the working directory of this moment.
std::string absolute(const std::string& path) {
    if (path.empty() || path.starts_with('/'))
        return path;
    std::string here;
    GetCurrentDir(here);
    return here + "/" + path;
}

void go_to(const std::string& directory) {
    if (chdir(directory.c_str()) != 0) {
        // Then the paths that were meant from there lead nowhere, as they do in a launch.
    }
}

struct Work {
    Shipment shipment;
    Settings& settings;
    const CommandLine& command_line;
    std::string root; // of the components
    bool thorough;

    void add(Source::Kind kind, const std::string& what, const std::string& from,
             const std::string& to, bool required) {
        if (kind == Source::Kind::archives && command_line.bNoBootStrap)
            return;
        shipment.sources.push_back(
            {kind, what, absolute(from), from, to, required, PathExists(from)});
    }

    void add_archives(const std::string& what, const std::string& from, bool required) {
        add(Source::Kind::archives, what, from, "", required);
    }

    // Copies a tree when there is one, and points the location at it.
    void take_tree(const std::string& what, std::string& location, const std::string& to) {
        add(Source::Kind::tree, what, location, to, true);
        location = joined_path(settings.scratchLoc, to);
    }

    [[nodiscard]] bool arrives(const std::string& payload) const {
        return command_line.bNoBootStrap || (thorough ? unpacks(payload) : PathExists(payload));
    }

    void resolve(std::string& location, const char* name) const {
        if (!PathExists(location))
            location = highest_payload_of(root, name);
    }
};

Selection select(Work& work) {
    Selection selection;
    Settings& settings = work.settings;
    if (settings.sBootStrapComps.empty())
        return {true, true, true, true, true};
    struct Known {
        const char* name;
        std::string& location;
        bool& selected;
    };
    const Known known[] = {
        {kInstaller, settings.zulLoc, selection.zul},
        {kCore, settings.zulCoreLoc, selection.core},
        {kMinimalCore, settings.zulCoreMinLoc, selection.minimal_core},
        {kPatchTool, settings.tesselLoc, selection.patch_tool},
    };
    for (const std::string& entry : settings.sBootStrapComps) {
        const auto [name, version] = component_of(entry);
        const std::string payload = version.empty() ? highest_payload_of(work.root, name)
                                                    : payload_of(work.root, name, version);
        bool is_known = false;
        for (const Known& component : known) {
            if (name == component.name) {
                component.location = payload;
                component.selected = is_known = true;
            }
        }
        if (is_known)
            continue;
        if (name == kRuntime && !work.command_line.bBootStrapOnly)
            selection.runtime = true;
        else
            work.add_archives(name, payload, true);
    }
    return selection;
}

void take_runtime(Work& work) {
    Settings& settings = work.settings;
    if (!PathExists(settings.jreDirLoc)) {
        settings.jreDirLoc = highest_payload_of(work.root, kRuntime);
        if (!PathExists(settings.jreDirLoc)) {
            settings.jreDirLoc = highest_payload_of(work.root, kDevelopmentKit);
            work.shipment.has_no_runtime = !PathExists(settings.jreDirLoc);
            work.shipment.runtime_is_kit = true;
        }
    }
    work.shipment.brings_runtime = true;
    work.shipment.runtime_source = work.shipment.sources.size();
    work.add_archives(work.shipment.runtime_is_kit ? kDevelopmentKit : kRuntime, settings.jreDirLoc,
                      true);
}

void take_components(Work& work, const Selection& selection) {
    Settings& settings = work.settings;
    const std::string in_zul = joined_path(settings.scratchLoc, "zul");
    if (selection.zul) {
        work.resolve(settings.zulLoc, kInstaller);
        work.add_archives(kInstaller, settings.zulLoc, true);
        work.add(Source::Kind::tree, std::string(kInstaller) + " " + kExpanded,
                 joined_path(settings.zulLoc, kExpanded), "", false);
        settings.zulLoc = in_zul;
    }
    if (selection.core) {
        work.resolve(settings.zulCoreLoc, kCore);
        work.add(Source::Kind::tree, std::string(kCore) + " " + kExpanded,
                 joined_path(settings.zulCoreLoc, kExpanded), "", false);
        work.add_archives(kCore, settings.zulCoreLoc, false);
        // A launch goes on without it, and looks for it on the stage.
        if (work.arrives(settings.zulCoreLoc))
            settings.zulCoreLoc = in_zul;
    }
    if (selection.minimal_core) {
        work.resolve(settings.zulCoreMinLoc, kMinimalCore);
        work.add_archives(kMinimalCore, settings.zulCoreMinLoc, false);
        if (work.arrives(settings.zulCoreMinLoc))
            settings.zulCoreMinLoc = in_zul;
    }
    if (selection.patch_tool) {
        work.resolve(settings.tesselLoc, kPatchTool);
        work.add_archives(kPatchTool, settings.tesselLoc, true);
        settings.tesselLoc = joined_path(settings.scratchLoc, "Tessel");
    }
}

void take_trees(Work& work, bool brings_runtime) {
    Settings& settings = work.settings;
    if (brings_runtime)
        work.take_tree("JRE_LOCATION", settings.jreDirLoc, "jre");
    work.take_tree("ZUL_LOCATION", settings.zulLoc, "zul");
    work.take_tree("ZUL_CORE_LOCATION", settings.zulCoreLoc, "zul");
    work.take_tree("ZUL_CORE_MIN_LOCATION", settings.zulCoreMinLoc, "zul");
    work.take_tree("TESSEL_LOCATION", settings.tesselLoc, "Tessel");
}

void take_extras(Work& work) {
    if (work.command_line.bNoBootStrap)
        return;
    const Settings& settings = work.settings;
    struct Extra {
        const char* key;
        const std::string& from;
        const char* to;
    };
    const Extra extras[] = {{"EXT_JLIB", settings.extJlibString, "ext/jlib"},
                            {"EXT_LIB", settings.extLibString, "ext/lib"},
                            {"EXT_BIN", settings.extBinString, "ext/bin"}};
    for (const Extra& extra : extras) {
        if (!extra.from.empty())
            work.add(Source::Kind::tree, extra.key, extra.from, extra.to, false);
    }
}

} // namespace

Shipment shipment_of(Settings& settings, const CommandLine& command_line,
                     const std::string& original_start, const std::string& image_location,
                     bool brings_runtime, bool thorough) {
    Work work{{}, settings, command_line, stage_root(), thorough};
    if (!image_location.empty())
        work.add(Source::Kind::tree, "images", image_location, "images", false);
    const Selection selection = select(work);

    if (command_line.bShipHomeLocation)
        go_to(original_start);
    work.shipment.sources_before_given_runtime = work.shipment.sources.size();
    if (launcher_state::_bDistribution) {
        if (brings_runtime && selection.runtime)
            take_runtime(work);
        take_components(work, selection);
    } else {
        take_trees(work, brings_runtime);
    }
    if (command_line.bShipHomeLocation)
        go_to(settings.startupLoc);

    if (!settings.access.empty() && !command_line.bNoBootStrap)
        work.add(Source::Kind::tree, "ACCESS_DIR", settings.access, "", true);
    if (!settings.prereqConfigLoc.empty()) {
        work.add(Source::Kind::tree, "PREREQ_CONFIG_LOCATION", settings.prereqConfigLoc, "prereq",
                 true);
        settings.prereqConfigLoc = joined_path(settings.scratchLoc, "prereq");
    }
    take_extras(work);
    return work.shipment;
}

// The layout of a stage: its components, their versions and their payloads.
//
// Owns: the names of the known components, where the stage's components lie, what an entry of the
// component list says, which version is taken. Leaves to others: bringing them (bootstrap) and the
// order of versions (version).
#pragma once

#include <string>
#include <string_view>

inline constexpr const char* kInstaller = "talvex.swd.zul";
inline constexpr const char* kCore = "talvex.swd.zul.core";
inline constexpr const char* kMinimalCore = "talvex.swd.zul.core.min";
inline constexpr const char* kPatchTool = "talvex.swd.tessel";
inline constexpr const char* kRuntime = "talvex.swd.jre";
// Stands in for a missing runtime component.
inline constexpr const char* kDevelopmentKit = "talvex.jdk";

inline constexpr const char* kPayload = "1/DataFiles"; // inside a version directory
inline constexpr const char* kExpanded = "Expanded";   // files of a payload that are not in a jar

// Where the components lie, relative to the working directory.
const char* stage_root();

// The name and the version, empty without one, that an entry of the component list says.
struct ComponentEntry {
    std::string name;
    std::string version;
};
ComponentEntry component_of(std::string_view entry);

// The payload directory of a component's version.
std::string payload_of(const std::string& root, const std::string& name,
                       const std::string& version);

// The payload directory of a component's highest version, that of "0.0.0.0.0" when it has none.
std::string highest_payload_of(const std::string& root, const std::string& name);

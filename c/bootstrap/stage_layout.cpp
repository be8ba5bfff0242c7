#include "bootstrap/stage_layout.h"

#include "base/paths.h"
#include "base/text.h"
#include "bootstrap/version.h"

namespace {

constexpr const char* kStageRoot = "../stage/Components";
constexpr const char* kStageRootFallback = "../../stage/Components";

} // namespace

const char* stage_root() {
    return PathExists(kStageRoot) ? kStageRoot : kStageRootFallback;
}

ComponentEntry component_of(std::string_view entry) {
    const std::vector<std::string> pieces = split(entry, ":");
    return {pieces.empty() ? "" : pieces[0], pieces.size() > 1 ? pieces[1] : ""};
}

std::string payload_of(const std::string& root, const std::string& name,
                       const std::string& version) {
    return root + "/" + name + "/" + version + "/" + kPayload;
}

std::string highest_payload_of(const std::string& root, const std::string& name) {
    std::string version;
    findHighestVersion(version, root + "/" + name + "/");
    return payload_of(root, name, version);
}

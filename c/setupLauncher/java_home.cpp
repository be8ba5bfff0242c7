#include "setupLauncher/java_home.h"

#include "base/launcher_state.h"
#include "base/paths.h"
#include "base/status.h"
#include "log/install_log.h"

#include <cstring>
#include <strings.h>

namespace {

constexpr std::string_view kWebPrefix = "http://";

int reject(const char* key) {
    record(key);
    nls_out("\n\n");
    show(key);
    return kFailed;
}

} // namespace

bool isJreHome(const std::string& jreDirLoc) {
    const std::string lib = joined_path(jreDirLoc, "lib");
    return PathExists(joined_path(lib, "rt.jar")) || PathExists(joined_path(lib, "core.jar"));
}

int validateJavaHome(const std::string& jreDirLoc, const std::string& /*paramFileLocation*/,
                     bool bUseJreLoc) {
    if (!bUseJreLoc && !launcher_state::_bJreLocation)
        return kOk;
    const bool useJre = launcher_state::useJreOnly == "TRUE";
    const bool useJdk = launcher_state::useJdkOnly == "TRUE";
    if (!useJre && !useJdk)
        return kOk;
    const bool isJre = isJreHome(jreDirLoc);
    launcher_state::_bisJre = isJre;
    if (useJdk && isJre)
        return reject("S_INVALID_JDK_HOME");
    if (useJre && !isJre)
        return reject("S_INVALID_JRE_HOME");
    return kOk;
}

bool IsJrePresent(const char* cmnd) {
    return PathExists(cmnd);
}

bool isStartWithHttp(std::string_view srcJarLoc) {
    return srcJarLoc.size() > kWebPrefix.size() &&
           strncasecmp(srcJarLoc.data(), kWebPrefix.data(), kWebPrefix.size()) == 0;
}

void AddSourceLocation(std::string& srcJarLoc, std::vector<std::string>& arg,
                       const std::string& paramLoc) {
    if (srcJarLoc.empty())
        return;
    if (!isStartWithHttp(srcJarLoc))
        srcJarLoc = joined_path(paramLoc, srcJarLoc);
    arg.emplace_back("-sourceLoc");
    arg.push_back(srcJarLoc);
}

#include "jreloc.h"

#include "base/launcher_state.h"
#include "base/paths.h"
#include "base/status.h"
#include "log/install_log.h"
#include "platform/console_input.h"
#include "platform/signals.h"

#include <algorithm>
#include <cstdio>

namespace {

struct Wording {
    const char* first;
    const char* retry;
};

// By whether a JDK is demanded, then by whether a JRE is. With both demands the first prompt speaks
// of a JDK and the retry of a JRE: no home satisfies both.
constexpr Wording kWordings[2][2] = {
    {{"S_SPECIFY_JRE_LOCATION", "S_SPECIFY_VALID_JRE_LOCATION"},
     {"S_SPECIFY_JRE_ONLY_LOCATION", "S_SPECIFY_VALID_JRE_ONLY_LOCATION"}},
    {{"S_SPECIFY_JDK_ONLY_LOCATION", "S_SPECIFY_VALID_JDK_ONLY_LOCATION"},
     {"S_SPECIFY_JDK_ONLY_LOCATION", "S_SPECIFY_VALID_JRE_ONLY_LOCATION"}},
};

const Wording& chosen_wording() {
    const bool jdk_only = launcher_state::useJdkOnly == "TRUE";
    const bool jre_only = launcher_state::useJreOnly == "TRUE";
    return kWordings[jdk_only ? 1 : 0][jre_only ? 1 : 0];
}

void prompt(const char* key) {
    nls_out("\n");
    show(key);
    std::fflush(stdout);
    drop_typed_ahead();
}

} // namespace

int getJRELoc(std::string& answer) {
    const Wording& wording = chosen_wording();
    prompt(wording.first);
    std::string line;
    while (read_console_line(line)) {
        line.resize(std::min(line.find('\0'), line.size())); // a path ends there
        if (!line.empty() && PathExists(joined_path(joined_path(line, "bin"), "java"))) {
            answer = line;
            return kOk;
        }
        prompt(wording.retry);
    }
    if (noted_signal() != 0)
        nls_out("\n"); // what is said of the signal begins a line
    return kFailed;
}

int getVanillaJRELoc(std::string& answer) {
    return getJRELoc(answer);
}

// Any command line: the look at the whole of it, the scan, the entry class, the composed command.
#include "fuzz_support.h"
#include "setupLauncher/installer_command.h"
#include "setupLauncher/launcher_state.h"
#include "setupLauncher/options.h"

#include <algorithm>

// The scan refuses the super-user, whom a build machine may well be.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    constexpr uid_t nobody = 65534;
    if (getuid() == 0 && setreuid(nobody, static_cast<uid_t>(-1)) != 0)
        std::abort();
    return 0;
}

namespace {

bool is_subsequence(const std::vector<std::string>& part, const std::vector<std::string>& whole) {
    auto at = whole.begin();
    for (const std::string& element : part) {
        at = std::find(at, whole.end(), element);
        if (at == whole.end())
            return false;
        ++at;
    }
    return true;
}

bool ends_with(const std::vector<std::string>& whole, const std::vector<std::string>& end) {
    return whole.size() >= end.size() && std::equal(end.rbegin(), end.rend(), whole.rbegin());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    discard_standard_output();
    std::vector<std::string> lines = lines_of(as_text(data, size));
    std::vector<char*> argv;
    for (std::string& line : lines)
        argv.push_back(line.data());
    launcher_state::reset();
    CommandLine command_line = read_arguments(static_cast<int>(argv.size()), argv.data());
    const auto clusters = [](const std::vector<std::string>& of) {
        return std::count(of.begin(), of.end(), "-bigCluster");
    };
    require(clusters(command_line.arguments) == std::max<std::ptrdiff_t>(clusters(lines) - 1, 0),
            "the first -bigCluster is replaced and no other");
    pre_scan(command_line);
    if (scan_arguments(command_line) != 0)
        return 0;
    Settings settings;
    settings.bootStrap = "T";
    settings.sEntryPoint = "from.the.File";
    settings.sOneClickEntryPoint = "one.Click";
    settings.prereqConfigLoc = command_line.prereqConfigLoc;
    if (choose_entry_class(command_line, settings) != 0)
        return 0;
    const std::vector<std::string> passed = pass_through_arguments(command_line);
    require(is_subsequence(passed, command_line.arguments), "what passes through keeps its order");

    DerivedLocations locations;
    InstallerCommandInput input{locations, settings, command_line, "/current", "5.11", false};
    const std::vector<std::string> vector = compose_installer_command(input);
    require(vector.front() == "java", "without a runtime the search path finds java");
    require(ends_with(vector, passed), "the installer's own arguments come last, all of them");
    require(std::count(vector.begin(), vector.end(), "-cp") >= 1, "there is a class path");
    require(mergeCommandArgs(vector, false).ends_with(' '), "a joined command ends in a blank");
    return 0;
}

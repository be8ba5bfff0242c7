// Any bytes as the parameter file and as an archive of a stage: the checks end, say lines of one
// form, and take every key for what the launcher's own reader takes it for.
#include "base/launcher_state.h"
#include "catalogues.h"
#include "findings.h"
#include "fuzz_support.h"
#include "inspect.h"
#include "parameter_lines.h"
#include "parameter_look_up.h"
#include "setupLauncher/settings.h"

#include <regex>

// There are no catalogues here.
std::string_view reference_catalogue() {
    static constexpr char bytes[] = "S_X=x"; // with the byte 0 that ends its record
    return {bytes, sizeof bytes};
}

const std::vector<std::string_view>& reference_languages() {
    static const std::vector<std::string_view> languages;
    return languages;
}

namespace {

constexpr std::string_view kSeparator = "\n--archive--\n";

const std::string& stage() {
    static const std::string top = [] {
        const std::string made = fuzz_directory() + "/stage";
        for (const char* directory :
             {"/install/resource", "/stage/Components/talvex.swd.zul/1.0/1/DataFiles",
              "/stage/Components/talvex.swd.jre/1.0/1/DataFiles"})
            std::filesystem::create_directories(made + directory);
        write_file(made + "/install/setupLauncher", "#!/bin/sh\n");
        write_file(made + "/install/unzip", "#!/bin/sh\n");
        write_file(made + "/install/resource/cons.nls", reference_catalogue());
        return made;
    }();
    return top;
}

void require_the_launchers_values(const std::string& path, std::string_view bytes) {
    const ParameterLines file = cut_into_lines(bytes);
    for (const LauncherKey& key : launcher_keys()) {
        const std::string name(key.name);
        require(looked_up(path, kLauncherSection, name) == told(file, kLauncherSection, name),
                "a key has the launcher's value");
    }
}

std::string printed() {
    std::fflush(stdout);
    const std::string path = fuzz_directory() + "/said";
    require(std::freopen(path.c_str(), "w", stdout) != nullptr, "the findings can be taken down");
    print_findings();
    std::fflush(stdout);
    require(std::freopen("/dev/null", "w", stdout) != nullptr, "the output can be discarded");
    std::FILE* file = std::fopen(path.c_str(), "r");
    std::string said;
    for (int byte = std::getc(file); byte != EOF; byte = std::getc(file))
        said += static_cast<char>(byte);
    std::fclose(file);
    return said;
}

bool is_finding(const std::string& line) {
    for (const char* grade : {": error: ", ": warning: ", ": note: "}) {
        const std::size_t at = line.find(grade);
        if (at != std::string::npos && at > 0)
            return true;
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view all = as_text(data, size);
    const std::size_t separator = std::min(all.find(kSeparator), all.size());
    const std::string_view parameters = all.substr(0, separator);
    const std::string_view archive =
        all.substr(std::min(separator + kSeparator.size(), all.size()));
    const std::string path = stage() + "/install/talparam.ini";
    write_file(path, parameters);
    const std::string components = stage() + "/stage/Components/";
    write_file(components + "talvex.swd.zul/1.0/1/DataFiles/zul.jar", archive);
    write_file(components + "talvex.swd.jre/1.0/1/DataFiles/jre.jar", archive);

    discard_standard_output();
    require_the_launchers_values(path, parameters);
    forget_findings();
    // The checks go into the stage; the fuzzer's own paths are relative.
    static const int here = open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    inspect(stage());
    require(fchdir(here) == 0, "the way back is there");
    const std::string said = printed();
    require(said.ends_with('\n'), "the last line ends");
    std::vector<std::string> lines = lines_of(said);
    lines.pop_back();
    require(!lines.empty() &&
                std::regex_match(lines.back(),
                                 std::regex("[0-9]+ errors?, [0-9]+ warnings?, [0-9]+ notes?")),
            "the last line counts");
    lines.pop_back();
    for (const std::string& line : lines)
        require(is_finding(line), "every line is a finding");
    return 0;
}

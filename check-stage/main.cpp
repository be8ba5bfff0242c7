// check-stage: tells what is wrong with an installation stage or an installed home before anybody
// launches from it.
//
// Owns: the call and the status. Leaves to others: the checks (inspect) and the plan (plan).
#include "base/launcher_state.h"
#include "findings.h"
#include "inspect.h"
#include "plan.h"
#include "quiet_files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kFine = 0;
constexpr int kErrorsFound = 1;
constexpr int kWrongCall = 2; // or nothing can be printed

constexpr const char* kUsage = "usage: check-stage [--plan] DIRECTORY [LAUNCHER ARGUMENT...]\n";

constexpr const char* kHelp =
    "\n"
    "Checks an installation stage or an installed home and tells what is wrong with it. DIRECTORY "
    "is\n"
    "its top, the directory above a CD's Disk1, Disk2..., or the directory in which the launcher\n"
    "lies. Nothing in DIRECTORY is changed and no program is started.\n"
    "\n"
    "Each finding is a line on standard output, FILE relative to DIRECTORY:\n"
    "\n"
    "  FILE:LINE: error: ...    no launch survives it, or another thing runs than was shipped\n"
    "  FILE:LINE: warning: ...  it has no effect, or another one than was meant\n"
    "  FILE:LINE: note: ...     worth knowing, and probably meant\n"
    "\n"
    "and the last line counts them. LAUNCHER ARGUMENTs are those of a launch; they matter to "
    "--plan.\n"
    "\n"
    "  --plan     say also what a launch with these arguments would do from here\n"
    "  --help     say this\n"
    "\n"
    "Status: 0 without errors, 1 with errors, 2 for a wrong call or when nothing can be printed.\n"
    "Environment: TMPDIR is where the temporary directory is made, /tmp without it.\n";

int refuse(const std::string& reason) {
    std::fprintf(stderr, "check-stage: %s\n%s", escaped(reason).c_str(), kUsage);
    return kWrongCall;
}

} // namespace

int main(int argc, char** argv) {
    // A file that is opened would take the number, and the findings.
    if (fcntl(STDOUT_FILENO, F_GETFD) == -1)
        return refuse("there is no standard output");
    std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    bool plan = false;
    while (!arguments.empty() && arguments.front().starts_with("-")) {
        const std::string option = arguments.front();
        arguments.erase(arguments.begin());
        if (option == "--help" || option == "-h") {
            std::printf("%s%s", kUsage, kHelp);
            return kFine;
        }
        if (option == "--")
            break;
        if (option != "--plan")
            return refuse("the option " + option + " is not known");
        plan = true;
    }
    if (arguments.empty())
        return refuse("name the directory of a stage or a home");
    const std::string directory = arguments.front();
    switch (kind_of(directory)) {
    case FileKind::directory:
        break;
    case FileKind::missing:
        return refuse("there is no directory " + directory);
    case FileKind::out_of_reach:
        return refuse("the directory " + directory + " cannot be reached");
    default:
        return refuse(directory + " is no directory");
    }
    read_directories_quietly();
    watch_for_signals();
    const int here = open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const int reason = errno;
    inspect(directory);
    print_findings();
    const bool is_back = here >= 0 && fchdir(here) == 0;
    if (plan && is_back)
        print_plan(directory, {arguments.begin() + 1, arguments.end()});
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        std::fprintf(stderr, "check-stage: the findings cannot be written: %s\n",
                     std::strerror(errno));
        return kWrongCall;
    }
    if (plan && !is_back) {
        std::fprintf(stderr,
                     "check-stage: no plan: the current directory cannot be read: %s; call "
                     "check-stage from another one\n",
                     std::strerror(reason));
        return kWrongCall;
    }
    return error_count() == 0 ? kFine : kErrorsFound;
}

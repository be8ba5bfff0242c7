#include "setupLauncher/start_failure.h"

#include "base/directory.h"
#include "base/obstacle.h"
#include "log/install_log.h"
#include "platform/program_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

// Declared nowhere on some systems.
extern char** environ; // NOLINT(readability-redundant-declaration)

namespace {

// What lies behind a failure, and what is of use against it.
struct Cause {
    const char* key;
    std::string detail;           // what the text names besides program and reason
    bool another_java = true;     // -jreLoc is a remedy
    bool another_scratch = false; // so is -scratchPath, for a program in the scratch directory
};

bool is_in_group(gid_t group) {
    std::vector<gid_t> groups(static_cast<std::size_t>(std::max(0, getgroups(0, nullptr))));
    const int count = getgroups(static_cast<int>(groups.size()), groups.data());
    groups.resize(static_cast<std::size_t>(std::max(0, count)));
    return group == getegid() || std::find(groups.begin(), groups.end(), group) != groups.end();
}

// Whether the mode lets this user execute the file. access() is not asked: where no programs may
// run, some systems let it say no and others yes.
bool mode_allows_execution(const struct stat& file) {
    mode_t wanted = S_IXOTH;
    if (file.st_uid == geteuid())
        wanted = S_IXUSR;
    else if (is_in_group(file.st_gid))
        wanted = S_IXGRP;
    return (file.st_mode & wanted) != 0;
}

// Why the system refuses to start a file that may be there.
Cause cause_of_refusal(const std::string& path) {
    const Obstacle obstacle = obstacle_on_way_to(path);
    if (obstacle.error == EACCES)
        return {"S_START_CLOSED", obstacle.path, true, true};
    struct stat file {};
    if (stat(path.c_str(), &file) != 0)
        return {"S_START_OTHER", ""};
    if (S_ISDIR(file.st_mode))
        return {"S_START_DIRECTORY", ""};
    if (!S_ISREG(file.st_mode))
        return {"S_START_NO_PROGRAM", ""};
    if (!mode_allows_execution(file))
        return {"S_START_NOT_EXECUTABLE", ""};
    const std::string runner = runner_named_by(path);
    if (!runner.empty() && (is_directory(runner) || access(runner.c_str(), X_OK) != 0))
        return {"S_START_NO_RUNNER", runner};
    return {"S_START_NOEXEC", "", true, true};
}

// Why the system does not find a file, or what is to run it.
Cause cause_of_absence(const std::string& path) {
    const Obstacle obstacle = obstacle_on_way_to(path);
    if (obstacle.error != 0 && obstacle.path != path)
        return {"S_START_OBSTACLE", obstacle.path};
    if (obstacle.error != 0)
        return {path.find('/') == std::string::npos ? "S_START_NOT_FOUND" : "S_START_OTHER", ""};
    const std::string runner = runner_named_by(path);
    if (runner.ends_with('\r'))
        return {"S_START_CARRIAGE_RETURN", ""};
    return {runner.empty() ? "S_START_OTHER" : "S_START_NO_RUNNER", runner};
}

Cause cause_of(const StartFailure& failure) {
    switch (failure.error) {
    case EACCES:
    case EPERM:
        return cause_of_refusal(failure.path);
    case ENOENT:
    case ENOTDIR:
        return cause_of_absence(failure.path);
    case ENOEXEC:
        return {"S_START_NO_PROGRAM", ""};
    case ETXTBSY:
        return {"S_START_BUSY", "", false};
    case ENOMEM:
    case EAGAIN:
        return {"S_START_OTHER", "", false};
    default:
        return {"S_START_OTHER", ""};
    }
}

std::string remedies(bool another_java, bool another_scratch) {
    std::string text;
    if (another_scratch)
        text += " " + unfilled_text("S_REMEDY_SCRATCHPATH");
    if (another_java)
        text += " " + unfilled_text("S_REMEDY_JRELOC");
    return text;
}

// How long the arguments and the environment of a program are.
struct Lengths {
    std::size_t all = 0;
    std::size_t longest = 0;
};

void add_text(Lengths& lengths, std::string_view text) {
    // Each has a NUL at its end and a pointer to it.
    lengths.all += text.size() + 1 + sizeof(char*);
    lengths.longest = std::max(lengths.longest, text.size() + 1);
}

void complain_of_length(const std::string& path, int error,
                        const std::vector<std::string>& arguments) {
    Lengths lengths;
    for (const std::string& argument : arguments)
        add_text(lengths, argument);
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable)
        add_text(lengths, *variable);
    complain("S_START_TOO_LONG", path, std::strerror(error), lengths.all, lengths.longest,
             sysconf(_SC_ARG_MAX));
}

} // namespace

void complain_of_start(const StartFailure& failure, const std::vector<std::string>& arguments,
                       const std::string& scratch) {
    const bool by_name = failure.path.find('/') == std::string::npos;
    const std::string path = by_name ? failure.path : whole_path(failure.path);
    if (failure.error == E2BIG) {
        complain_of_length(path, failure.error, arguments);
        return;
    }
    const Cause cause = cause_of({path, failure.error});
    const bool in_scratch = !scratch.empty() && path.starts_with(whole_path(scratch) + "/");
    complain_because(cause.key, {path, std::strerror(failure.error), cause.detail},
                     remedies(cause.another_java, cause.another_scratch && in_scratch));
}

void complain_of_refusal(const std::string& scratch, int error) {
    complain_because("S_START_NOEXEC", {scratch, std::strerror(error)}, remedies(true, true));
}

#include "setupLauncher/spawn.h"

#include "base/launcher_state.h"
#include "base/status.h"
#include "log/install_log.h"
#include "platform/child_process.h"
#include "platform/signals.h"
#include "setupLauncher/argument_listing.h"

#include <cerrno>
#include <cstdio>
#include <sys/wait.h>
#include <unistd.h>

namespace {

void write_flushed(std::FILE* log, const std::string& text) {
    if (log == nullptr)
        return;
    std::fputs(text.c_str(), log);
    std::fflush(log);
}

void close_log(std::FILE* log) {
    if (log != nullptr)
        std::fclose(log);
}

// Becomes the program; comes back with -1 and the system's error number only when that fails.
int become(const char* program, const std::vector<std::string>& arguments, std::FILE* log) {
    const std::string first = arguments.empty() ? std::string() : arguments.front();
    write_flushed(log, english_text("S_EXECVP_ARGS", {first}));
    for (const std::string& argument : arguments)
        write_flushed(log, argument + "\n");
    std::vector<char*> vector;
    vector.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments)
        // NOLINTNEXTLINE(*-const-cast): execvp does not write to them
        vector.push_back(const_cast<char*>(argument.c_str()));
    vector.push_back(nullptr);
    give_signals_back();
    const int result = execvp(program, vector.data());
    const int error = errno;
    if (launcher_state::_bDebug)
        write_flushed(log, english_text("S_EXECVP_RET", {result}) + "\n");
    errno = error;
    return result;
}

// The exit code of the installer, which answers every signal noted meanwhile.
int wait_for_installer(pid_t child) {
    int status = 0;
    if (child < 0 || !wait_for_child(status, child))
        return kNoChildStatus;
    // A child ended by a signal has no exit code; its caller should at least read why it is gone.
    if (WIFSIGNALED(status)) {
        const int number = WTERMSIG(status);
        complain("S_CHILD_SIGNALLED", signal_name(number), number);
        return kOk;
    }
    forget_noted_signal();
    return WEXITSTATUS(status);
}

int start(const char* program, const std::vector<std::string>& arguments, bool sync,
          bool report_failure) {
    std::FILE* log = open_for_appending(sLogLoc);
    // What is buffered now would otherwise be written by both processes.
    std::fflush(stdout);
    std::fflush(stderr);
    const pid_t child = start_child();
    if (launcher_state::_bDebug)
        write_flushed(log, english_text("S_FORK_RET", {child}));
    if (child != 0) {
        const int result = sync ? wait_for_installer(child) : kOk;
        close_log(log);
        return result;
    }
    const int result = become(program, arguments, log);
    const int error = errno;
    close_log(log);
    if (report_failure && result == kFailed)
        complain("S_ERGOSLST", "CreateZULProcess()", error);
    return result;
}

} // namespace

int SpawnProcess(const std::vector<std::string>& pArgv, bool bSync) {
    if (launcher_state::_bDebug)
        list_arguments(pArgv);
    return start(pArgv.empty() ? "" : pArgv.front().c_str(), pArgv, bSync, true);
}

int forkprocess(const std::string& cmdline, const std::vector<std::string>& argv, bool sync) {
    return start(cmdline.c_str(), argv, sync, false);
}

#include "setupLauncher/spawn.h"

#include "base/launcher_state.h"
#include "base/status.h"
#include "log/install_log.h"
#include "platform/child_process.h"
#include "platform/program_start.h"
#include "platform/signals.h"
#include "setupLauncher/argument_listing.h"
#include "setupLauncher/start_failure.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
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

// Lists the arguments and becomes the program; comes back only when that fails.
StartFailure become(const char* program, const std::vector<std::string>& arguments,
                    std::FILE* log) {
    const std::string first = arguments.empty() ? std::string() : arguments.front();
    write_flushed(log, english_text("S_EXECVP_ARGS", {first}));
    for (const std::string& argument : arguments)
        write_flushed(log, argument + "\n");
    give_signals_back();
    StartFailure failure = become_program(program, arguments);
    hold_signals(); // what is left is the end of the launch
    if (launcher_state::_bDebug)
        write_flushed(log, english_text("S_EXECVP_RET", {kFailed}) + "\n");
    return failure;
}

// The exit code of the installer, which answers every signal noted meanwhile.
int wait_for_installer(pid_t child) {
    int status = 0;
    if (child < 0 && noted_signal() != 0)
        return kFailed;
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

// What a start is, beside program and vector.
struct Start {
    bool sync;
    bool report_failure;
    std::string scratch;
};

int start(const char* program, const std::vector<std::string>& arguments, const Start& how) {
    std::FILE* log = open_for_appending(sLogLoc);
    // What is buffered now would otherwise be written by both processes.
    std::fflush(stdout);
    std::fflush(stderr);
    const pid_t child = start_child();
    const int fork_error = errno;
    if (launcher_state::_bDebug)
        write_flushed(log, english_text("S_FORK_RET", {child}));
    if (child < 0 && how.report_failure && noted_signal() == 0)
        complain("S_FORK_FAILED", program, std::strerror(fork_error));
    if (child != 0) {
        const int result = how.sync ? wait_for_installer(child) : kOk;
        close_log(log);
        return result;
    }
    const StartFailure failure = become(program, arguments, log);
    close_log(log);
    if (how.report_failure) {
        complain("S_ERGOSLST", "CreateZULProcess()", failure.error);
        complain_of_start(failure, arguments, how.scratch);
    }
    return kFailed;
}

} // namespace

int SpawnProcess(const std::vector<std::string>& pArgv, bool bSync, const std::string& scratch) {
    if (launcher_state::_bDebug)
        list_arguments(pArgv);
    return start(pArgv.empty() ? "" : pArgv.front().c_str(), pArgv, {bSync, true, scratch});
}

int forkprocess(const std::string& cmdline, const std::vector<std::string>& argv, bool sync) {
    return start(cmdline.c_str(), argv, {sync, false, ""});
}

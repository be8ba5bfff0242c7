#include "platform/program_start.h"

#include "base/paths.h"
#include "platform/program_file.h"

#include <cerrno>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr const char* kShell = "/bin/sh";
// Where programs are searched without a PATH.
constexpr const char* kUsualPath = "/bin:/usr/bin";

// Comes back with the error number.
int execute(const std::string& path, const std::vector<std::string>& arguments) {
    std::vector<char*> vector;
    vector.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments)
        // NOLINTNEXTLINE(*-const-cast): execv does not write to them
        vector.push_back(const_cast<char*>(argument.c_str()));
    vector.push_back(nullptr);
    execv(path.c_str(), vector.data());
    return errno;
}

// Becomes the file `path`, through the shell when it is a text; comes back with the error number.
int execute_or_hand_to_shell(const std::string& path, const std::vector<std::string>& arguments) {
    const int error = execute(path, arguments);
    // The shell would run whatever bytes there are as commands, or find none and call that success.
    if (error != ENOEXEC || !is_plain_text(path))
        return error;
    std::vector<std::string> for_shell = {kShell, path};
    if (arguments.size() > 1)
        for_shell.insert(for_shell.end(), arguments.begin() + 1, arguments.end());
    return execute(kShell, for_shell);
}

// Whether the search goes on behind a directory in which the start failed with `error`.
bool is_not_there(int error) {
    return error == ENOENT || error == ENOTDIR || error == EACCES || error == ESTALE ||
           error == ENODEV || error == ETIMEDOUT || error == ENAMETOOLONG;
}

} // namespace

StartFailure become_program(const std::string& program, const std::vector<std::string>& arguments) {
    if (program.empty())
        return {program, ENOENT};
    if (program.find('/') != std::string::npos)
        return {program, execute_or_hand_to_shell(program, arguments)};

    const char* set = std::getenv("PATH");
    const std::string path = set == nullptr ? kUsualPath : set;
    StartFailure failure{program, ENOENT};
    for (std::size_t start = 0, end = 0; end != std::string::npos; start = end + 1) {
        end = path.find(':', start);
        const std::string directory = path.substr(start, end - start);
        const std::string file = directory.empty() ? program : joined_path(directory, program);
        const int error = execute_or_hand_to_shell(file, arguments);
        if (!is_not_there(error))
            return {file, error};
        // One that is there and may not be started is worth more than those that are not there.
        if (failure.error != EACCES)
            failure = {error == EACCES ? file : program, error};
    }
    return failure;
}

int refusal_of_programs_in(const std::string& directory) {
    std::string path = joined_path(directory, ".startXXXXXX");
    const int descriptor = mkstemp(path.data());
    if (descriptor < 0)
        return 0;
    // Nothing that a system knows as a program, so that this process does not become it: a start
    // that is allowed ends with ENOEXEC, and one that is not ends before the file is read.
    constexpr char no_program[16] = {};
    const bool written = write(descriptor, no_program, sizeof no_program) == sizeof no_program &&
                         fchmod(descriptor, S_IRWXU) == 0;
    const bool closed = close(descriptor) == 0;
    const int error = written && closed ? execute(path, {path}) : ENOEXEC;
    unlink(path.c_str());
    return error == EACCES || error == EPERM ? error : 0;
}

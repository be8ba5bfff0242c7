#include "prereqchecks/command_output.h"

#include "base/paths.h"
#include "log/install_log.h"
#include "log/reasons.h"
#include "platform/child_process.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

constexpr double kMegabytesPerByte = 9.5367431640625e-07; // 1 / 1048576

std::optional<std::string> read_whole_file(const std::string& path) {
    struct stat found {};
    if (stat(path.c_str(), &found) != 0)
        return std::nullopt;
    std::FILE* file = std::fopen(path.c_str(), "r");
    if (file == nullptr)
        return std::nullopt;
    std::string text;
    std::array<char, 8192> piece{};
    for (;;) {
        const std::size_t got = std::fread(piece.data(), 1, piece.size(), file);
        text.append(piece.data(), got);
        if (got < piece.size())
            break;
    }
    std::fclose(file);
    const std::size_t nul = text.find('\0');
    if (nul != std::string::npos)
        text.resize(nul);
    return text;
}

} // namespace

std::optional<std::string> GetCommandOutput(const std::string& command,
                                            const std::string& scratchLoc) {
    const std::string file = scratchLoc + "/command_output_" + std::to_string(getpid());
    // What an earlier command left there must not pass for the output of one that never ran.
    unlink(file.c_str());
    std::fflush(stdout);
    const int status = run_shell_command(command + " > " + shell_word(file) + " 2>&1");
    complain_of_command(command, status, errno);
    if (status == -1)
        return std::nullopt;
    return read_whole_file(file);
}

std::optional<std::string> GetCommandOutputInEnglish(const std::string& command,
                                                     const std::string& scratchLoc) {
    const char* before = std::getenv("LC_ALL");
    const std::string saved = before == nullptr ? "" : before;
    setenv("LC_ALL", "C", 1);
    std::optional<std::string> output = GetCommandOutput(command, scratchLoc);
    setenv("LC_ALL", saved.c_str(), 1);
    return output;
}

bool is_unusable(const std::optional<std::string>& output) {
    return !output || output->find(": not found") != std::string::npos ||
           output->find("cannot execute") != std::string::npos;
}

double getFreeSpaceForVolume(const std::string& volName) {
    struct statvfs volume {};
    if (statvfs(volName.c_str(), &volume) != 0) {
        complain_errno("S_ERROR64RET", volName);
        return 0;
    }
    return static_cast<double>(volume.f_bavail) * static_cast<double>(volume.f_frsize) *
           kMegabytesPerByte;
}

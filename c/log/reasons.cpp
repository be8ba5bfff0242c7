#include "log/reasons.h"

#include "base/obstacle.h"
#include "base/text.h"
#include "log/install_log.h"
#include "platform/signals.h"

#include <cstring>
#include <sys/wait.h>

namespace {

constexpr std::uint64_t kMegabyte = std::uint64_t{1} << 20;

FormatArg count(std::uint64_t number) {
    return static_cast<long long>(number);
}

} // namespace

void complain_of_room(const std::string& directory, const Room& room, const Need& need, int error) {
    const std::string free_files = room.files_counted ? std::to_string(room.files) : "-";
    complain("S_ROOM", directory, std::strerror(error), count(room.bytes / kMegabyte), free_files,
             count((need.bytes + kMegabyte - 1) / kMegabyte), count(need.files));
}

void complain_of_place(const std::string& path, int error, const Need& need) {
    if (error == 0)
        return;
    if (speaks_of_room(error)) {
        complain_of_room(path, room_at(path), need, error);
        return;
    }
    const Obstacle obstacle = obstacle_on_way_to(path);
    // What is only not there yet is no obstacle; why it could not be made is known from the try.
    if (obstacle.error == 0 || (obstacle.error == ENOENT && error != ENOENT))
        complain("S_REASON", path, std::strerror(error));
    else
        complain("S_REASON", obstacle.path, std::strerror(obstacle.error));
}

void complain_of_command(const std::string& command, int status, int error) {
    if (noted_signal() != 0)
        return;
    const std::string words(trimmed(command));
    if (status == -1) {
        const char* reason = std::strerror(error);
        writeToInstallLog("\n" + english_text("S_FORK_FAILED", {words, reason}));
        complain("S_FORK_FAILED", words, reason);
    } else if (WIFSIGNALED(status)) {
        const int number = WTERMSIG(status);
        const std::string name = signal_name(number);
        writeToInstallLog("\n" + english_text("S_COMMAND_SIGNALLED", {name, number, command}));
        complain("S_COMMAND_SIGNALLED", name, number, command);
    }
}

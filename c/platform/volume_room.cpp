#include "platform/volume_room.h"

#include "base/obstacle.h"
#include "base/paths.h"

#include <cerrno>
#include <cstdlib>
#include <sys/statvfs.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::size_t kTrialBytes = 4096;

} // namespace

Room room_at(const std::string& path) {
    Room room;
    struct statvfs volume {};
    if (statvfs(existing_part(path).c_str(), &volume) != 0)
        return room;
    room.known = true;
    room.block = volume.f_frsize == 0 ? 1 : volume.f_frsize;
    room.bytes = static_cast<std::uint64_t>(volume.f_bavail) * room.block;
    // File systems that make inodes as they need them tell none at all.
    room.files_counted = volume.f_files != 0;
    room.files = volume.f_favail;
    return room;
}

bool is_short_of(const Room& room, const Need& need) {
    return room.known &&
           (room.bytes < need.bytes || (room.files_counted && room.files < need.files));
}

void add_file(Need& need, std::uint64_t bytes, std::uint64_t block) {
    need.bytes += (bytes + block - 1) / block * block;
    ++need.files;
}

bool speaks_of_room(int error) {
    return error == ENOSPC || error == EDQUOT;
}

int refusal_of_a_file_in(const std::string& directory) {
    std::string path = joined_path(directory, ".roomXXXXXX");
    const int descriptor = mkstemp(path.data());
    if (descriptor < 0)
        return errno;
    int error = 0;
    const std::vector<char> block(kTrialBytes);
    const ssize_t written = write(descriptor, block.data(), block.size());
    if (written < 0)
        error = errno;
    else if (static_cast<std::size_t>(written) < block.size())
        error = ENOSPC;
    // Some file systems tell it only now.
    if (close(descriptor) != 0 && error == 0)
        error = errno;
    unlink(path.c_str());
    return error;
}

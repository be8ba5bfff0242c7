// A volume whose free space is known to the byte. Included by one file of a test program.
#pragma once

#include <cerrno>
#include <string>
#include <sys/statvfs.h>

// What the launcher is told about the only volume it may ask about; every other one is missing.
inline constexpr const char* kVolume = "/volume";
inline struct statvfs volume {};

// `blocks` free blocks of `fragment` bytes for ordinary users; the super-user has three times as
// many, and the blocks of the file system are larger, neither of which counts.
inline void set_free_space(unsigned long blocks, unsigned long fragment) {
    volume.f_bavail = blocks;
    volume.f_frsize = fragment;
    volume.f_bfree = blocks * 3 + 17;
    volume.f_bsize = fragment * 2;
}

// Stands before the library's own, so that the numbers are exact.
extern "C" int statvfs(const char* path, struct statvfs* result) noexcept {
    if (std::string(path) != kVolume) {
        errno = ENOENT;
        return -1;
    }
    *result = volume;
    return 0;
}

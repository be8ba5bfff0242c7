#include "platform/mount_table.h"

#include <sys/mnttab.h> // after <cstdio>: it uses FILE

namespace {

// A field given as "-" arrives as a null pointer.
std::string field(const char* text) {
    return text == nullptr ? "" : text;
}

} // namespace

int next_mount_entry(std::FILE* table, MountEntry& entry) {
    mnttab read{};
    const int status = getmntent(table, &read);
    if (status == kMountEntryRead)
        entry = MountEntry{field(read.mnt_special), field(read.mnt_mountp), field(read.mnt_fstype),
                           field(read.mnt_mntopts), field(read.mnt_time)};
    return status;
}

#include "platform/mount_table.h"

#include <sys/mnttab.h> // after <cstdio>: it uses FILE

namespace {

// A field given as "-" arrives as a null pointer.
std::string field(const char* text) {
    return text == nullptr ? "" : text;
}

} // namespace

int next_mount_entry(std::FILE* table, MountEntry& entry) {
    struct mnttab line {};
    const int status = getmntent(table, &line);
    if (status == kMountEntryRead)
        entry = MountEntry{field(line.mnt_special), field(line.mnt_mountp), field(line.mnt_fstype),
                           field(line.mnt_mntopts), field(line.mnt_time)};
    return status;
}

// <dirent.h> of Solaris: an entry does not tell its kind, and its name goes on behind its end, so
// that no entry can be copied by value.
#define dirent stand_in_dirent_of_the_real_header
#define readdir stand_in_readdir_of_the_real_header
#include_next <dirent.h>
#undef dirent
#undef readdir

#ifndef STAND_IN_DIRENT_H
#define STAND_IN_DIRENT_H

#undef _DIRENT_HAVE_D_TYPE
#undef DT_UNKNOWN
#undef DT_DIR
#undef DT_LNK
#undef DT_REG
#pragma GCC poison DT_UNKNOWN DT_DIR DT_LNK DT_REG

#include <sys/types.h>

struct dirent {
    ino_t d_ino;
    off_t d_off;
    unsigned short d_reclen;
    char d_name[1];

    dirent() = delete;
    dirent(const dirent&) = delete;
};

extern "C" struct dirent* readdir(DIR* directory) noexcept;

#endif

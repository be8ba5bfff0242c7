// <sys/mnttab.h> of Solaris. It uses FILE without a header that declares it.
#ifndef STAND_IN_SYS_MNTTAB_H
#define STAND_IN_SYS_MNTTAB_H

#define MNT_TOOLONG 1
#define MNT_TOOMANY 2
#define MNT_TOOFEW 3

struct mnttab {
    char* mnt_special;
    char* mnt_mountp;
    char* mnt_fstype;
    char* mnt_mntopts;
    char* mnt_time;
};

extern "C" int getmntent(FILE* table, struct mnttab* entry);
extern "C" char* hasmntopt(struct mnttab* entry, char* option);

#endif

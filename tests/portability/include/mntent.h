#error "Solaris has no <mntent.h>; its mount table is read by <sys/mnttab.h>"

// <sys/file.h> of Solaris, whose earlier releases have no flock().
#include_next <sys/file.h>

#undef LOCK_EX

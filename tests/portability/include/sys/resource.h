// <sys/resource.h> of Solaris, with fewer limits.
#include_next <sys/resource.h>

#undef RLIMIT_NPROC
#undef RLIMIT_RSS
#undef RLIMIT_MEMLOCK

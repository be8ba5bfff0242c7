// <grp.h> of Solaris.
#include_next <grp.h>

#pragma GCC poison getgrouplist

// <time.h> of Solaris, whose early releases of 11 have no timegm.
#include_next <time.h>

#pragma GCC poison timegm

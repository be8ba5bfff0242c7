// <stdio.h> of Solaris.
#include_next <stdio.h>

#ifndef STAND_IN_STDIO_H
#define STAND_IN_STDIO_H

#undef BUFSIZ
#define BUFSIZ 1024

#pragma GCC poison dprintf open_memstream fmemopen

#endif

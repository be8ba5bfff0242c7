// <signal.h> of Solaris: the kernel's own signals come with no code of that name.
#include_next <signal.h>

#ifndef STAND_IN_SIGNAL_H
#define STAND_IN_SIGNAL_H

#undef SI_KERNEL
#define SI_NOINFO 32767

#pragma GCC poison SI_KERNEL

#endif

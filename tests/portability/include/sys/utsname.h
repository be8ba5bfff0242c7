// <sys/utsname.h> of Solaris also declares an object, whose name hides the type's in C++.
#include_next <sys/utsname.h>

#ifndef STAND_IN_SYS_UTSNAME_H
#define STAND_IN_SYS_UTSNAME_H

extern "C" struct utsname utsname;

#endif

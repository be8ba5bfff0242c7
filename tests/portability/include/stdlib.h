// What <stdlib.h> of Solaris brings along besides, on some releases through the headers of signals:
// register names of the machine and words of other headers, all as macros.
#include_next <stdlib.h>

#ifndef STAND_IN_STDLIB_H
#define STAND_IN_STDLIB_H

#define CS 15
#define DS 18
#define ES 17
#define FS 26
#define GS 25
#define SS 18
#define ERR 13
#define EFL 16
#define EIP 14
#define UESP 17
#define ESP 7
#define EAX 11
#define EBX 8
#define ECX 10
#define EDX 9
#define ESI 5
#define EDI 4
#define EBP 6
#define TRAPNO 12

#define SEC 1
#define MILLISEC 1000
#define MICROSEC 1000000
#define NANOSEC 1000000000

#undef NODEV
#undef howmany
#define NODEV (-1)
#define NOPID (-1)
#define SIGINFO 41
#define DEFAULT_TYPE 0
#define STD_BLK 1024
#define howmany(size, unit) (((size) + ((unit)-1)) / (unit))

// Found without a file only where the call is given room for the answer.
#include <cstddef>
extern "C++" char* realpath(const char*, std::nullptr_t) = delete;

#pragma GCC poison secure_getenv qsort_r mkostemp

#endif

// <string.h> of Solaris: strerror_r as POSIX has it, no memrchr.
#define strerror_r stand_in_strerror_r_of_the_real_header
#include_next <string.h>
#undef strerror_r

#ifndef STAND_IN_STRING_H
#define STAND_IN_STRING_H

#include <stddef.h>
extern "C" int strerror_r(int number, char* text, size_t room) noexcept;

#pragma GCC poison memrchr

#endif

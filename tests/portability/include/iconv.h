// <iconv.h> of Solaris, as it is without the feature macro of some compilers: the input is const.
// The real declaration has it otherwise, so what compiles here and there fits both.
#define iconv stand_in_iconv_of_the_real_header
#include_next <iconv.h>
#undef iconv

#ifndef STAND_IN_ICONV_H
#define STAND_IN_ICONV_H

extern "C" size_t iconv(iconv_t conversion, const char** in, size_t* in_left, char** out,
                        size_t* out_left);

#endif

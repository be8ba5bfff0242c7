// <locale.h> of Solaris: six categories; early releases of 11 have no locale objects.
#include_next <locale.h>

#undef LC_PAPER
#undef LC_NAME
#undef LC_ADDRESS
#undef LC_TELEPHONE
#undef LC_MEASUREMENT
#undef LC_IDENTIFICATION

#pragma GCC poison newlocale

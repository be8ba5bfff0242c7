// <sys/filio.h>, which only Solaris has.
#define FIONREAD (('f' << 8) | 127)

// <sys/ioctl.h> of Solaris leaves these to <sys/filio.h> and <termios.h>.
#include_next <sys/ioctl.h>

#undef FIONREAD
#ifndef STAND_IN_TERMIOS_H
#undef TIOCGWINSZ
#endif

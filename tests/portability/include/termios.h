// <termios.h> of Solaris, where the size of a terminal is asked for.
#include_next <termios.h>

#ifndef STAND_IN_TERMIOS_H
#define STAND_IN_TERMIOS_H

#undef TIOCGWINSZ
#define TIOCGWINSZ (('T' << 8) | 104)

#endif

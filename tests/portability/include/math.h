// The words of matherr(), which <math.h> of Solaris still has as macros.
#include_next <math.h>

#ifndef STAND_IN_MATH_H
#define STAND_IN_MATH_H

#undef DOMAIN
#undef SING
#undef OVERFLOW
#undef UNDERFLOW
#undef PLOSS
#undef TLOSS
#undef HUGE
#define DOMAIN 1
#define SING 2
#define OVERFLOW 3
#define UNDERFLOW 4
#define TLOSS 5
#define PLOSS 6
#define HUGE 3.40282346638528860e+38F

#endif

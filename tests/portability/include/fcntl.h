// <fcntl.h> of Solaris; O_DIRECTORY is there on some releases only.
#include_next <fcntl.h>

#undef O_PATH
#undef O_TMPFILE
#undef O_DIRECTORY

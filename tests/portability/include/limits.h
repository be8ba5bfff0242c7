// <limits.h> of Solaris: shorter paths; NAME_MAX is there on some releases only.
#include_next <limits.h>

#undef PATH_MAX
#define PATH_MAX 1024
#undef NAME_MAX
#undef HOST_NAME_MAX
#undef NGROUPS_MAX
#define NGROUPS_MAX 16

// <sys/socket.h> of Solaris; MSG_NOSIGNAL is there on some releases only.
#include_next <sys/socket.h>

#undef MSG_NOSIGNAL
#pragma GCC poison MSG_NOSIGNAL

// <unistd.h> of Solaris: no declaration of environ, no answer in memory of the system's own.
#define environ stand_in_environ_of_the_real_header
#include_next <unistd.h>
#undef environ

#ifndef STAND_IN_UNISTD_H
#define STAND_IN_UNISTD_H

#include <cstddef>
extern "C++" char* getcwd(std::nullptr_t, std::size_t) = delete;

#pragma GCC poison copy_file_range execvpe euidaccess pipe2

#endif

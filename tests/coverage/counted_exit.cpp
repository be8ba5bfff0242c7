// Stands before the C library's _exit and raise in a build for coverage: the counters are written
// first.
#include <csignal>
#include <cstdlib>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

extern "C" {

// NOLINTNEXTLINE(bugprone-reserved-identifier): the compiler's name
void __gcov_dump();

static void write_counters() {
    // Under a limit the files of the counters would be cut off, and all that they told be lost.
    rlimit size{};
    if (getrlimit(RLIMIT_FSIZE, &size) == 0 && size.rlim_cur != RLIM_INFINITY)
        return;
    // Writing them takes memory; without any, the program's own end is worth more.
    if (void* memory = std::malloc(1 << 16)) {
        std::free(memory);
        __gcov_dump();
    }
}

void _exit(int status) {
    write_counters();
    for (;;)
        syscall(SYS_exit_group, status);
}

// A test may have its own.
[[gnu::weak]] int raise(int number) noexcept {
    write_counters();
    return kill(getpid(), number);
}

} // extern "C"

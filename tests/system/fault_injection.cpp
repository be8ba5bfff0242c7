// A library to preload (LD_PRELOAD): makes one call of one library function
// fail in the launcher, as a system that is out of something would, or wait.
//
// FAULT_PROGRAM    absolute path of the launcher; every other program is left alone
// FAULT_PROCESS    "launcher": calls of the process that was started count;
//                  "child": those of the process that it forks, up to its exec
// FAULT_FUNCTION   the function, see the table of names below
// FAULT_CALL       which call of it fails; the first is 1
// FAULT_LASTS=yes  every later call of it in the same process fails as well
// FAULT_ERRNO      the error number that the call leaves
// FAULT_MARKER     file made when the call has failed
// FAULT_PAUSE      the call does not fail but makes the directory FAULT_PAUSE.awaited
//                  and waits until there is the file FAULT_PAUSE
// FAULT_STOP=exit  nothing fails any more once the launcher has begun to exit
//
// A C library reads and writes its streams with calls of its own that nothing
// can stand before. The streams of the launcher, standard output and error
// included, are therefore made here anew on top of read, write and close, with
// the buffering they would have had.

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <iconv.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// NOLINTNEXTLINE(bugprone-reserved-identifier): the C library's name
extern "C" void* __libc_malloc(std::size_t size);

namespace {

enum Function {
    kOpen, // fopen as well
    kRead, // and every read, write and close of a stream
    kWrite,
    kClose,
    kMkdir,
    kChmod,
    kUnlink,
    kRmdir,
    kFork,
    kExecv,
    kWaitpid,
    kPipe,
    kOpendir,
    kReaddir,
    kStat,
    kChdir,
    kGetcwd,
    kStatvfs,
    kIconvOpen,
    kMalloc,
    kFunctions,
};

constexpr const char* kNames[kFunctions] = {
    "open",  "read",  "write",  "close",   "mkdir",      "chmod",   "unlink",
    "rmdir", "fork",  "execv",  "waitpid", "pipe",       "opendir", "readdir",
    "stat",  "chdir", "getcwd", "statvfs", "iconv_open", "malloc",
};

bool active = false;
bool in_child = false;
bool lasts = false;
bool stop_at_exit = false;
bool told_of_exit = false;
pid_t launcher = 0;
int function = kFunctions;
long calls_left = 0;
int error_number = 0;
char marker[PATH_MAX];
char go_on[PATH_MAX];

template <typename Call>
Call real(const char* name) {
    return reinterpret_cast<Call>(dlsym(RTLD_NEXT, name));
}

void stop() {
    active = false;
}

void make_marker() {
    static const auto real_open = real<int (*)(const char*, int, ...)>("open");
    static const auto real_close = real<int (*)(int)>("close");
    const int descriptor = real_open(marker, O_WRONLY | O_CREAT, 0666);
    if (descriptor >= 0)
        real_close(descriptor);
}

// Whether this call of `called` is the one to fail; errno is set then. Comes back late from the one
// to wait.
bool fails(Function called) {
    if (!active || called != function)
        return false;
    if ((getpid() != launcher) != in_child)
        return false;
    if (stop_at_exit && !told_of_exit) {
        told_of_exit = true;
        std::atexit(stop);
    }
    if (calls_left == 0 ? !lasts : --calls_left > 0)
        return false;
    make_marker();
    if (go_on[0] != '\0') {
        char awaited[PATH_MAX + 16];
        std::snprintf(awaited, sizeof awaited, "%s.awaited", go_on);
        mkdirat(AT_FDCWD, awaited, 0777);
        while (access(go_on, F_OK) != 0)
            usleep(2000);
        return false;
    }
    errno = error_number;
    return true;
}

// ---- streams on top of read, write and close ------------------------------

ssize_t read_stream(void* cookie, char* buffer, std::size_t size) {
    return read(static_cast<int>(reinterpret_cast<std::intptr_t>(cookie)), buffer, size);
}

// Zero stands for an error, unlike what write returns.
ssize_t write_stream(void* cookie, const char* buffer, std::size_t size) {
    const ssize_t written =
        write(static_cast<int>(reinterpret_cast<std::intptr_t>(cookie)), buffer, size);
    return written < 0 ? 0 : written;
}

int seek_stream(void* cookie, off64_t* offset, int whence) {
    const off_t at =
        lseek(static_cast<int>(reinterpret_cast<std::intptr_t>(cookie)), *offset, whence);
    if (at < 0)
        return -1;
    *offset = at;
    return 0;
}

int close_stream(void* cookie) {
    return close(static_cast<int>(reinterpret_cast<std::intptr_t>(cookie)));
}

std::FILE* stream_of(int descriptor, const char* mode) {
    std::FILE* stream = fopencookie(reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor)),
                                    mode, {read_stream, write_stream, seek_stream, close_stream});
    if (stream != nullptr)
        stream->_fileno = descriptor; // for fileno, which knows no such streams
    return stream;
}

int flags_of(const char* mode) {
    const bool both = std::strchr(mode, '+') != nullptr;
    switch (mode[0]) {
    case 'r':
        return both ? O_RDWR : O_RDONLY;
    case 'w':
        return (both ? O_RDWR : O_WRONLY) | O_CREAT | O_TRUNC;
    default:
        return (both ? O_RDWR : O_WRONLY) | O_CREAT | O_APPEND;
    }
}

const char* order(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

__attribute__((constructor)) void begin() {
    char program[PATH_MAX] = "";
    const ssize_t length = readlink("/proc/self/exe", program, sizeof program - 1);
    if (length <= 0 || std::strcmp(program, order("FAULT_PROGRAM")) != 0)
        return;
    for (int at = 0; at < kFunctions; ++at) {
        if (std::strcmp(kNames[at], order("FAULT_FUNCTION")) == 0)
            function = at;
    }
    if (function < 0 && *order("FAULT_FUNCTION") != '\0')
        std::abort(); // a misspelt name must not pass for a call that never fails
    calls_left = std::atol(order("FAULT_CALL"));
    error_number = std::atoi(order("FAULT_ERRNO"));
    in_child = std::strcmp(order("FAULT_PROCESS"), "child") == 0;
    lasts = std::strcmp(order("FAULT_LASTS"), "yes") == 0;
    stop_at_exit = std::strcmp(order("FAULT_STOP"), "exit") == 0;
    std::snprintf(marker, sizeof marker, "%s", order("FAULT_MARKER"));
    std::snprintf(go_on, sizeof go_on, "%s", order("FAULT_PAUSE"));
    launcher = getpid();
    stdout = stream_of(STDOUT_FILENO, "w");
    stderr = stream_of(STDERR_FILENO, "w");
    std::setvbuf(stderr, nullptr, _IONBF, 0);
    // Whatever the checks of a build need comes before the first call that counts.
    make_marker();
    unlinkat(AT_FDCWD, marker, 0);
    active = true;
}

// The stand-in for `name`: fails with `failure` when its turn has come.
#define CALL(function_number, failure, name, type, ...)                                            \
    if (fails(function_number))                                                                    \
        return failure;                                                                            \
    static const auto next = real<type>(name);                                                     \
    return next(__VA_ARGS__)

} // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    CALL(kOpen, -1, "open", int (*)(const char*, int, ...), path, flags, mode);
}

std::FILE* fopen(const char* path, const char* mode) {
    if (!active) {
        static const auto next = real<std::FILE* (*)(const char*, const char*)>("fopen");
        return next(path, mode);
    }
    const int descriptor = open(path, flags_of(mode) | O_CLOEXEC, 0666);
    return descriptor < 0 ? nullptr : stream_of(descriptor, mode);
}

std::FILE* fdopen(int descriptor, const char* mode) noexcept {
    return stream_of(descriptor, mode);
}

ssize_t read(int descriptor, void* buffer, std::size_t size) {
    CALL(kRead, -1, "read", ssize_t(*)(int, void*, std::size_t), descriptor, buffer, size);
}

ssize_t write(int descriptor, const void* buffer, std::size_t size) {
    CALL(kWrite, -1, "write", ssize_t(*)(int, const void*, std::size_t), descriptor, buffer, size);
}

// The descriptor is closed all the same, as the systems do it.
int close(int descriptor) {
    static const auto next = real<int (*)(int)>("close");
    const int result = next(descriptor);
    return fails(kClose) ? -1 : result;
}

int mkdir(const char* path, mode_t mode) noexcept {
    CALL(kMkdir, -1, "mkdir", int (*)(const char*, mode_t), path, mode);
}

int chmod(const char* path, mode_t mode) noexcept {
    CALL(kChmod, -1, "chmod", int (*)(const char*, mode_t), path, mode);
}

int fchmod(int descriptor, mode_t mode) noexcept {
    CALL(kChmod, -1, "fchmod", int (*)(int, mode_t), descriptor, mode);
}

int unlink(const char* path) noexcept {
    CALL(kUnlink, -1, "unlink", int (*)(const char*), path);
}

int unlinkat(int directory, const char* path, int flags) noexcept {
    CALL(kUnlink, -1, "unlinkat", int (*)(int, const char*, int), directory, path, flags);
}

int rmdir(const char* path) noexcept {
    CALL(kRmdir, -1, "rmdir", int (*)(const char*), path);
}

pid_t fork() noexcept {
    CALL(kFork, -1, "fork", pid_t(*)(), );
}

int execv(const char* path, char* const* arguments) noexcept {
    CALL(kExecv, -1, "execv", int (*)(const char*, char* const*), path, arguments);
}

pid_t waitpid(pid_t child, int* status, int options) {
    CALL(kWaitpid, -1, "waitpid", pid_t(*)(pid_t, int*, int), child, status, options);
}

int pipe(int ends[2]) noexcept {
    CALL(kPipe, -1, "pipe", int (*)(int*), ends);
}

DIR* opendir(const char* path) {
    CALL(kOpendir, nullptr, "opendir", DIR * (*)(const char*), path);
}

dirent* readdir(DIR* directory) {
    CALL(kReaddir, nullptr, "readdir", dirent * (*)(DIR*), directory);
}

int stat(const char* path, struct stat* found) noexcept {
    CALL(kStat, -1, "stat", int (*)(const char*, struct stat*), path, found);
}

int fstatat(int directory, const char* path, struct stat* found, int flags) noexcept {
    CALL(kStat, -1, "fstatat", int (*)(int, const char*, struct stat*, int), directory, path, found,
         flags);
}

int chdir(const char* path) noexcept {
    CALL(kChdir, -1, "chdir", int (*)(const char*), path);
}

char* getcwd(char* buffer, std::size_t size) noexcept {
    CALL(kGetcwd, nullptr, "getcwd", char* (*)(char*, std::size_t), buffer, size);
}

int statvfs(const char* path, struct statvfs* volume) noexcept {
    CALL(kStatvfs, -1, "statvfs", int (*)(const char*, struct statvfs*), path, volume);
}

iconv_t iconv_open(const char* to, const char* from) {
    CALL(kIconvOpen, reinterpret_cast<iconv_t>(-1), "iconv_open",
         iconv_t(*)(const char*, const char*), to, from);
}

#ifndef FAULTS_WITHOUT_MALLOC
void* malloc(std::size_t size) noexcept {
    return fails(kMalloc) ? nullptr : __libc_malloc(size);
}
#endif

} // extern "C"

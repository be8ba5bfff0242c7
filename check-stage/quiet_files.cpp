#include "quiet_files.h"

#include "base/directory.h"
#include "base/paths.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

#ifdef O_NOATIME
constexpr int kWithoutTrace = O_NOATIME;
#else
constexpr int kWithoutTrace = 0;
#endif

std::string directory_of_this_run;
volatile std::sig_atomic_t signal_that_came = 0;

void remove_own_directory() {
    std::error_code ignored;
    if (!directory_of_this_run.empty())
        std::filesystem::remove_all(directory_of_this_run, ignored);
}

void note_signal(int number) {
    signal_that_came = number;
}

int open_for_reading(const std::string& path) {
    // Without waiting: a pipe may bear the name of any file.
    const int flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    // cppcheck-suppress badBitmaskCheck ; 0 only where the system has no such flag
    const int descriptor = open(path.c_str(), flags | kWithoutTrace);
    if (descriptor >= 0 || errno != EPERM)
        return descriptor;
    return open(path.c_str(), flags);
}

} // namespace

FileKind kind_of(const std::string& path) {
    struct stat found {};
    if (stat(path.c_str(), &found) != 0)
        return errno == ENOENT || errno == ENOTDIR ? FileKind::missing : FileKind::out_of_reach;
    if (S_ISREG(found.st_mode))
        return FileKind::regular;
    return S_ISDIR(found.st_mode) ? FileKind::directory : FileKind::other;
}

bool can_be_looked_into(const std::string& directory) {
    return access(directory.c_str(), R_OK | X_OK) == 0;
}

void read_directories_quietly() {
    directory_flags = kWithoutTrace;
}

int open_quietly(const std::string& path) {
    // Looked at before it is opened: the opening alone may have an effect on a device.
    const FileKind kind = kind_of(path);
    if (kind != FileKind::regular && kind != FileKind::missing && kind != FileKind::out_of_reach) {
        errno = EINVAL;
        return -1;
    }
    const int descriptor = open_for_reading(path);
    struct stat opened {};
    if (descriptor >= 0 && (fstat(descriptor, &opened) != 0 || !S_ISREG(opened.st_mode))) {
        close(descriptor);
        errno = EINVAL;
        return -1;
    }
    return descriptor;
}

std::uint64_t size_of(const std::string& path) {
    struct stat found {};
    if (stat(path.c_str(), &found) != 0 || !S_ISREG(found.st_mode))
        return 0;
    return static_cast<std::uint64_t>(found.st_size);
}

bool read_quietly(std::string& bytes, const std::string& path, std::size_t most) {
    bytes.clear();
    const int descriptor = open_quietly(path);
    if (descriptor < 0)
        return false;
    std::array<char, 65536> piece{};
    bool read_all = true;
    while (bytes.size() < most) {
        const ssize_t got =
            read(descriptor, piece.data(), std::min(piece.size(), most - bytes.size()));
        if (got < 0 && errno == EINTR)
            continue;
        read_all = got >= 0;
        if (got <= 0)
            break;
        bytes.append(piece.data(), static_cast<std::size_t>(got));
    }
    const int reason = errno;
    close(descriptor);
    errno = reason;
    return read_all;
}

const std::string& own_directory() {
    if (directory_of_this_run.empty()) {
        const char* named = std::getenv("TMPDIR");
        const char* base = named == nullptr || *named != '/' ? "/tmp" : named;
        std::string made = joined_path(base, "check-stage.XXXXXX");
        if (mkdtemp(made.data()) != nullptr) {
            directory_of_this_run = made;
            static_cast<void>(std::atexit(remove_own_directory));
        }
    }
    return directory_of_this_run;
}

std::string own_file(const std::string& name, const std::string& bytes) {
    if (own_directory().empty())
        return "";
    const std::string path = joined_path(own_directory(), name);
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        return "";
    bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    const int reason = errno;
    if (std::fclose(file) == 0)
        errno = reason;
    else
        written = false;
    return written ? path : "";
}

void watch_for_signals() {
    // Who no longer reads the findings ends no write early, so that nothing is left behind.
    std::signal(SIGPIPE, SIG_IGN);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before {};
        // Who has them ignored wants to go on.
        if (sigaction(number, nullptr, &before) != 0 || before.sa_handler == SIG_IGN)
            continue;
        struct sigaction noted {};
        noted.sa_handler = note_signal;
        sigaction(number, &noted, nullptr);
    }
}

void give_way_to_signals() {
    const int number = signal_that_came;
    if (number == 0)
        return;
    remove_own_directory();
    directory_of_this_run.clear();
    // Its own death tells the caller more than a status.
    std::signal(number, SIG_DFL);
    std::raise(number);
}

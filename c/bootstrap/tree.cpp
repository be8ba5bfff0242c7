#include "bootstrap/tree.h"

#include "base/directory.h"
#include "base/launcher_state.h"
#include "base/paths.h"
#include "base/status.h"
#include "bootstrap/tree_walk.h"
#include "log/install_log.h"
#include "log/reasons.h"
#include "platform/child_process.h"
#include "platform/signals.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <vector>

namespace {

// Of a file that a copy makes, less the mask, until it is whole.
constexpr mode_t kMadeFileMode = 0666;

// What a copy reads and writes at a time: as much as its streams hold.
constexpr std::size_t kCopyPiece = std::size_t{128} * 1024;

CopyFailure copy_failure;

int fail_copy(const std::string& path, int error) {
    copy_failure = {path, error};
    return kFailed;
}

bool is_pipe_socket_or_device(const char* path) {
    struct stat found {};
    return stat(path, &found) == 0 && !S_ISREG(found.st_mode) && !S_ISDIR(found.st_mode);
}

// The status of a copy onto something that is there already and must not be opened; none when it is
// to be overwritten.
std::optional<int> settled_without_copying(const char* source, const char* dest) {
    struct stat from {};
    struct stat to {};
    if (stat(source, &from) != 0 || stat(dest, &to) != 0)
        return std::nullopt;
    if (from.st_dev == to.st_dev && from.st_ino == to.st_ino)
        return kOk; // opening it for writing would empty it
    if (S_ISFIFO(to.st_mode))
        return fail_copy(dest, EEXIST); // nobody may ever read from it
    return std::nullopt;
}

// A stream for the new file `dest`; null when it cannot be made, or is there.
std::FILE* make_file(const char* dest) {
    const int descriptor = open(dest, O_RDWR | O_CREAT | O_EXCL, kMadeFileMode);
    if (descriptor < 0)
        return nullptr;
    std::FILE* made = fdopen(descriptor, "w+");
    if (made == nullptr)
        close(descriptor);
    return made;
}

// Copies until the end of `in`; false as soon as less is written than was read or a signal is
// noted.
bool copy_stream(std::FILE* in, std::FILE* out) {
    static std::vector<char> piece(kCopyPiece);
    for (;;) {
        const std::size_t got = std::fread(piece.data(), 1, piece.size(), in);
        if ((got > 0 && std::fwrite(piece.data(), 1, got, out) < got) || noted_signal() != 0)
            return false;
        if (got < piece.size())
            return std::ferror(in) == 0 && std::fflush(out) == 0;
    }
}

void close_stream(std::FILE* stream) {
    if (stream != nullptr)
        std::fclose(stream);
}

// Copies what is known as no pipe, socket or device.
int copy_plain_file(const char* source, const char* dest) {
    static std::vector<char> in_buffer(kCopyPiece);
    static std::vector<char> out_buffer(kCopyPiece);
    std::FILE* in = std::fopen(source, "r");
    if (in == nullptr)
        fail_copy(source, errno);
    // Most files are new: only one that was there can be the source itself.
    std::FILE* out = make_file(dest);
    if (out == nullptr) {
        if (const std::optional<int> settled = settled_without_copying(source, dest)) {
            close_stream(in);
            return *settled;
        }
        out = std::fopen(dest, "w+");
    }
    if (out == nullptr)
        fail_copy(dest, errno);
    bool copied = false;
    if (in != nullptr && out != nullptr) {
        std::setvbuf(in, in_buffer.data(), _IOFBF, in_buffer.size());
        std::setvbuf(out, out_buffer.data(), _IOFBF, out_buffer.size());
        copied = copy_stream(in, out);
        if (!copied)
            fail_copy(std::ferror(in) != 0 ? source : dest, errno);
    }
    close_stream(in);
    if (out == nullptr)
        chmod(dest, kCopiedFileMode); // what is there and could not be opened
    else
        fchmod(fileno(out), kCopiedFileMode);
    if (out != nullptr && std::fclose(out) != 0) {
        if (copied)
            fail_copy(dest, errno);
        copied = false;
    }
    return copied ? kOk : kFailed;
}

int copy_entry(const TreeWalk& walk, const std::string& directory) {
    const std::string source = entry_path(walk);
    const std::string dest = joined_path(directory, walk.name);
    return walk.is_plain_file ? copy_plain_file(source.c_str(), dest.c_str())
                              : copyFile(source.c_str(), dest.c_str());
}

int copy_tree(const std::string& source, const std::string& dest) {
    const DirectoryIdentity root = directory_identity(source);
    if (root != DirectoryIdentity{} && root == directory_identity(dest))
        return kOk;
    TreeWalk walk = walk_over(source);
    std::string here;
    bool missing = false;      // `here` could not be made
    CopyFailure first_missing; // and the first for which that is so
    while (noted_signal() == 0 && next_step(walk)) {
        if (walk.step == WalkStep::kDirectoryOpened) {
            here = path_in_list(walk, walk.directory, dest);
            missing = mkdir(here.c_str(), kMadeDirectoryMode) != 0 && errno != EEXIST;
            if (missing && first_missing.error == 0)
                first_missing = {here, errno};
            if (walk.directory == 0)
                walk.left_out = directory_identity(dest); // it may lie in the source
        } else if (walk.step == WalkStep::kFile && copy_entry(walk, here) != kOk) {
            end_walk(walk);
            if (missing)
                copy_failure = first_missing;
            return kFailed;
        }
    }
    end_walk(walk);
    if (noted_signal() != 0)
        return kFailed;
    return walk.incomplete != 0 ? fail_copy(source, walk.incomplete) : kOk;
}

void delete_tree(const std::string& root) {
    TreeWalk walk = walk_over(root);
    while (next_step(walk)) {
        // What leads back is a mere link; while it stood, its directory could not go.
        if (walk.step == WalkStep::kFile || walk.step == WalkStep::kWayBack)
            unlinkat(dirfd(walk.stream), walk.name.c_str(), 0);
    }
    for (std::size_t left = directory_count(walk); left > 0; --left)
        rmdir(path_in_list(walk, left - 1, root).c_str());
}

// Whether `path` can be opened as a directory; if not, errno says why.
bool opens_as_directory(const std::string& path) {
    DIR* opened = opendir(path.c_str());
    if (opened == nullptr)
        return false;
    closedir(opened);
    return true;
}

// Gives the file that the walk's last step met the mode.
void set_permission_of_file(const TreeWalk& walk, mode_t mode) {
    const std::string path = entry_path(walk);
    if (chmod(path.c_str(), mode) == 0)
        return;
    const int reason = errno;
    struct stat found {};
    if (stat(path.c_str(), &found) != 0) {
        complain_errno("S_ERFILE_MISSING", path); // a link that leads nowhere, say
        return;
    }
    errno = reason;
    complain_errno("S_ERPERM_2", path);
}

// Gives the directory, or the link to one, that the walk's last step met the mode. Where that
// fails, everything below it keeps its mode.
void set_permission_of_directory(TreeWalk& walk, mode_t mode) {
    const std::string path = entry_path(walk);
    if (!opens_as_directory(path))
        complain_errno("S_ERFILE_MISSING", path);
    else if (chmod(path.c_str(), mode) != 0)
        complain_errno("S_ERPERM_1", path);
    else
        return;
    if (walk.step == WalkStep::kDirectory)
        pass_over_directory(walk);
}

} // namespace

int CopyDirRecursive(const char* source, const char* dest) {
    if (dest != nullptr)
        return copy_tree(source, dest);
    delete_tree(source);
    return kOk;
}

const CopyFailure& last_copy_failure() {
    return copy_failure;
}

int copyFile(const char* source, const char* dest) {
    if (!is_pipe_socket_or_device(source))
        return copy_plain_file(source, dest);
    complain("S_FILE_PASSED_OVER", source);
    return kOk;
}

void setPermission(const char* p_strFilePath, int p_iPermission, int p_bRecursive) {
    if (p_strFilePath == nullptr || *p_strFilePath == '\0')
        return;
    const auto mode = static_cast<mode_t>(p_iPermission);
    if (mode > kHighestMode)
        return;
    if (chmod(p_strFilePath, mode) != 0) {
        complain_errno("S_ERPERM_1", p_strFilePath);
        return;
    }
    if (p_bRecursive <= 0)
        return;
    TreeWalk walk = walk_over(p_strFilePath);
    walk.depth_first = true; // the order in which its complaints come
    while (noted_signal() == 0 && next_step(walk)) {
        if (walk.step == WalkStep::kFile)
            set_permission_of_file(walk, mode);
        else if (walk.step != WalkStep::kDirectoryOpened)
            set_permission_of_directory(walk, mode);
    }
    end_walk(walk);
}

int CopyJars(const std::string& source, const std::string& dest, const std::string& startupLoc) {
    // The backslash hands the pattern to unzip itself, which takes every jar that fits it.
    const std::string command = shell_word(startupLoc + "/unzip") +
                                (launcher_state::_bDebug ? " -o " : " -qqqo ") +
                                shell_word(source) + "/\\*.jar -d " + shell_word(dest) + " ";
    std::fflush(stdout);
    // What the operator has set for his own unzip would change what is unpacked here.
    const int status = run_shell_command(command, {"UNZIP", "UNZIPOPT"});
    const int error = errno;
    setPermission(dest.c_str(), kUnpackedMode, 1);
    record("S_UNZIP_COMMANDLINE");
    writeToInstallLog(command);
    if (status == 0)
        return kOk;
    if (noted_signal() != 0)
        return kFailed;
    complain_of_command(command, status, error);
    if (!PathExists(source)) {
        record("S_UNZIP_FAILED", source);
        complain("S_UNZIP_FAILED", source);
        std::fflush(stdout);
    }
    return kFailed;
}

void CreateDir(const std::string& dirName) {
    mkdir(dirName.c_str(), kMadeDirectoryMode);
}

long getFreeSpace(const std::string& volName) {
    struct statvfs volume {};
    if (statvfs(volName.c_str(), &volume) != 0)
        return 0;
    return static_cast<long>((volume.f_bavail >> 10) * volume.f_frsize);
}

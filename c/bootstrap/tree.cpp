#include "bootstrap/tree.h"

#include "prereqchecks/install_log.h"
#include "setupLauncher/directory.h"
#include "setupLauncher/launcher_state.h"
#include "setupLauncher/paths.h"
#include "setupLauncher/status.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::size_t kCopyPiece = 1024;
// The streams read and write this much at a time, so that small pieces cost no system calls.
constexpr std::size_t kStreamBuffer = 128 * 1024;

constexpr std::size_t kNoParent = static_cast<std::size_t>(-1);

// A directory of the work list, with what tells it from every other one and where it was found.
struct PendingDirectory {
    std::string source;
    std::string dest; // unused when the tree is deleted
    dev_t device = 0;
    ino_t inode = 0;
    std::size_t parent = kNoParent;
};

std::string entry_path(const std::string& directory, const std::string& name) {
    return directory.ends_with('/') ? directory + name : directory + "/" + name;
}

// Whether `found` is the directory `at` of the list or one that it lies in: only a link leads there.
bool is_own_ancestor(const std::vector<PendingDirectory>& list, std::size_t at,
                     const struct stat& found) {
    for (; at != kNoParent; at = list[at].parent) {
        if (list[at].device == found.st_dev && list[at].inode == found.st_ino)
            return true;
    }
    return false;
}

void read_identity(PendingDirectory& directory) {
    struct stat found {};
    if (stat(directory.source.c_str(), &found) == 0) {
        directory.device = found.st_dev;
        directory.inode = found.st_ino;
    }
}

// Handles the entries of directory `at`: files at once, directories by adding them to the list.
// False when a file could not be copied.
bool visit_directory(std::vector<PendingDirectory>& list, std::size_t at, bool copying) {
    const PendingDirectory here = list[at];
    const DirectoryEntries entries = directory_entries(here.source);
    if (!entries.opened)
        return true;
    if (copying)
        mkdir(here.dest.c_str(), kMadeDirectoryMode);
    for (const std::string& name : entries.names) {
        PendingDirectory next;
        next.source = entry_path(here.source, name);
        if (copying)
            next.dest = entry_path(here.dest, name);
        struct stat found {};
        if (stat(next.source.c_str(), &found) == 0 && S_ISDIR(found.st_mode)) {
            if (is_own_ancestor(list, at, found)) {
                if (!copying)
                    unlink(next.source.c_str()); // a mere link, else its directory could not go
                continue;
            }
            next.device = found.st_dev;
            next.inode = found.st_ino;
            next.parent = at;
            list.push_back(std::move(next));
        } else if (!copying) {
            unlink(next.source.c_str());
        } else if (copyFile(next.source.c_str(), next.dest.c_str()) != kOk) {
            return false;
        }
    }
    return true;
}

// Copies until the end of `in`; false as soon as less is written than was read.
bool copy_stream(std::FILE* in, std::FILE* out) {
    std::array<char, kCopyPiece> piece{};
    for (;;) {
        const std::size_t got = std::fread(piece.data(), 1, piece.size(), in);
        if (got > 0 && std::fwrite(piece.data(), 1, got, out) < got)
            return false;
        if (got < piece.size())
            return std::ferror(in) == 0 && std::fflush(out) == 0;
    }
}

struct Identity {
    dev_t device;
    ino_t inode;
};

void set_permission_below(const std::string& directory, mode_t mode, std::vector<Identity>& parents);

void set_permission_of_entry(const std::string& path, mode_t mode, std::vector<Identity>& parents) {
    DIR* opened = opendir(path.c_str());
    if (opened != nullptr) {
        closedir(opened);
        if (chmod(path.c_str(), mode) != 0) {
            complain_errno("S_ERPERM_1", path);
            return;
        }
        set_permission_below(path, mode, parents);
    } else if (errno == ENOTDIR) {
        errno = 0;
        if (chmod(path.c_str(), mode) != 0)
            complain_errno("S_ERPERM_2", path);
    } else {
        complain_errno("S_ERFILE_MISSING", path);
    }
}

void set_permission_below(const std::string& directory, mode_t mode,
                          std::vector<Identity>& parents) {
    struct stat found {};
    if (stat(directory.c_str(), &found) != 0)
        return;
    for (const Identity& parent : parents) {
        if (parent.device == found.st_dev && parent.inode == found.st_ino)
            return;
    }
    parents.push_back({found.st_dev, found.st_ino});
    for (const std::string& name : directory_entries(directory).names)
        set_permission_of_entry(directory + "/" + name, mode, parents);
    parents.pop_back();
}

} // namespace

int CopyDirRecursive(const char* source, const char* dest) {
    std::vector<PendingDirectory> list(1);
    list[0].source = source;
    list[0].dest = dest == nullptr ? "" : dest;
    read_identity(list[0]);
    for (std::size_t at = 0; at < list.size(); ++at) {
        if (!visit_directory(list, at, dest != nullptr))
            return kFailed;
    }
    if (dest == nullptr) {
        for (std::size_t left = list.size(); left > 0; --left)
            rmdir(list[left - 1].source.c_str());
    }
    return kOk;
}

int copyFile(const char* source, const char* dest) {
    static std::vector<char> in_buffer(kStreamBuffer);
    static std::vector<char> out_buffer(kStreamBuffer);
    std::FILE* in = std::fopen(source, "r");
    std::FILE* out = std::fopen(dest, "w+");
    bool copied = false;
    if (in != nullptr && out != nullptr) {
        std::setvbuf(in, in_buffer.data(), _IOFBF, in_buffer.size());
        std::setvbuf(out, out_buffer.data(), _IOFBF, out_buffer.size());
        copied = copy_stream(in, out);
    }
    if (in != nullptr)
        std::fclose(in);
    if (out != nullptr && std::fclose(out) != 0)
        copied = false;
    chmod(dest, kCopiedFileMode);
    return copied ? kOk : kFailed;
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
    std::vector<Identity> parents;
    if (p_bRecursive > 0)
        set_permission_below(p_strFilePath, mode, parents);
}

int CopyJars(const std::string& source, const std::string& dest, const std::string& startupLoc) {
    // The backslash hands the pattern to unzip itself, which takes every jar that fits it.
    const std::string command = shell_word(startupLoc + "/unzip") +
                                (launcher_state::_bDebug ? " -o " : " -qqqo ") +
                                shell_word(source) + "/\\*.jar -d " + shell_word(dest) + " ";
    std::fflush(stdout);
    const int status = std::system(command.c_str());
    setPermission(dest.c_str(), kUnpackedMode, 1);
    record("S_UNZIP_COMMANDLINE");
    writeToInstallLog(command);
    if (status == 0)
        return kOk;
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

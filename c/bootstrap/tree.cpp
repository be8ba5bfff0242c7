#include "bootstrap/tree.h"

#include "prereqchecks/install_log.h"
#include "setupLauncher/directory.h"
#include "setupLauncher/launcher_state.h"
#include "setupLauncher/paths.h"
#include "setupLauncher/status.h"

#include <algorithm>
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
    DirectoryIdentity identity{};
    std::size_t parent = kNoParent;
};

// A walk over a tree: the directories still to visit, and those that the tree's root lies in.
struct Walk {
    std::vector<PendingDirectory> list;
    std::vector<DirectoryIdentity> above_root;
    bool copying = false;
};

// Whether `found` is the directory `at` of the list or one that it lies in: only a link leads
// there.
bool is_own_ancestor(const Walk& walk, std::size_t at, const DirectoryIdentity& found) {
    for (; at != kNoParent; at = walk.list[at].parent) {
        if (walk.list[at].identity == found)
            return true;
    }
    return std::find(walk.above_root.begin(), walk.above_root.end(), found) !=
           walk.above_root.end();
}

// Handles the entries of directory `at`: files at once, directories by adding them to the list.
// False when a file could not be copied.
bool visit_directory(Walk& walk, std::size_t at) {
    const PendingDirectory here = walk.list[at];
    const DirectoryEntries entries = directory_entries(here.source);
    if (!entries.opened)
        return true;
    if (walk.copying)
        mkdir(here.dest.c_str(), kMadeDirectoryMode);
    for (const std::string& name : entries.names) {
        PendingDirectory next;
        next.source = joined_path(here.source, name);
        if (walk.copying)
            next.dest = joined_path(here.dest, name);
        struct stat found {};
        if (stat(next.source.c_str(), &found) == 0 && S_ISDIR(found.st_mode)) {
            next.identity = {found.st_dev, found.st_ino};
            if (is_own_ancestor(walk, at, next.identity)) {
                if (!walk.copying)
                    unlink(next.source.c_str()); // a mere link, else its directory could not go
                continue;
            }
            next.parent = at;
            walk.list.push_back(std::move(next));
        } else if (!walk.copying) {
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

void set_permission_below(const std::string& directory, mode_t mode,
                          std::vector<DirectoryIdentity>& parents);

void set_permission_of_entry(const std::string& path, mode_t mode,
                             std::vector<DirectoryIdentity>& parents) {
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
                          std::vector<DirectoryIdentity>& parents) {
    struct stat found {};
    if (stat(directory.c_str(), &found) != 0)
        return;
    const DirectoryIdentity here{found.st_dev, found.st_ino};
    if (std::find(parents.begin(), parents.end(), here) != parents.end())
        return;
    parents.push_back(here);
    for (const std::string& name : directory_entries(directory).names)
        set_permission_of_entry(directory + "/" + name, mode, parents);
    parents.pop_back();
}

} // namespace

int CopyDirRecursive(const char* source, const char* dest) {
    Walk walk;
    walk.copying = dest != nullptr;
    walk.above_root = directories_above(source);
    PendingDirectory root;
    root.source = source;
    root.dest = walk.copying ? dest : "";
    struct stat found {};
    if (stat(source, &found) == 0)
        root.identity = {found.st_dev, found.st_ino};
    walk.list.push_back(std::move(root));
    for (std::size_t at = 0; at < walk.list.size(); ++at) {
        if (!visit_directory(walk, at))
            return kFailed;
    }
    if (!walk.copying) {
        for (std::size_t left = walk.list.size(); left > 0; --left)
            rmdir(walk.list[left - 1].source.c_str());
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
    if (p_bRecursive <= 0)
        return;
    std::vector<DirectoryIdentity> parents = directories_above(p_strFilePath);
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

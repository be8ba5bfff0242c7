// The file-system work of the bootstrap: trees are copied, deleted, given modes and unpacked.
//
// Owns: what is done with each entry of a tree, the modes of what it makes, the unzip command.
// Leaves to others: which trees, and what is said when a copy fails (bootstrap); the way through a
// tree (tree_walk).
//
// A file or directory that is its own destination, by whatever path, stays as it is. Pipes, sockets
// and devices are never opened for copying.
//
// Links are followed. Only one that leads back to a directory in which it lies is not: a copy
// leaves it out, a deletion removes it as a mere link, and a change of modes changes that directory
// alone.
#pragma once

#include <string>
#include <sys/types.h>

// Every file that copyFile writes, whatever the source's mode.
inline constexpr mode_t kCopiedFileMode = 0770;
// Every file and directory under a destination of CopyJars.
inline constexpr mode_t kUnpackedMode = 0750;
// Directories made here, less the mask.
inline constexpr mode_t kMadeDirectoryMode = 0777;
// setPermission refuses modes above.
inline constexpr mode_t kHighestMode = 0777;

// Copies the tree `source` into `dest`, merging with what is there, or deletes it with its root
// when `dest` is null. 0, or -1 when a file cannot be copied or a signal is noted, which ends the
// copy there, or when a directory cannot be read to its end. A missing source and a directory that
// cannot be opened are no failure; what cannot be deleted stays without a word, and a signal does
// not end a deletion.
int CopyDirRecursive(const char* source, const char* dest);

// Copies one file; `dest` is emptied even when `source` cannot be read. 0 or -1. A pipe, socket or
// device is passed over with a message that names it: 0.
int copyFile(const char* source, const char* dest);

// Where the last copy that failed did so, and the system's error number.
struct CopyFailure {
    std::string path;
    int error = 0;
};
const CopyFailure& last_copy_failure();

// Gives `p_strFilePath` the mode, and with `p_bRecursive` above 0 everything below it. A path that
// cannot be changed is named on standard error with the system's reason.
void setPermission(const char* p_strFilePath, int p_iPermission, int p_bRecursive);

// Unpacks every jar of directory `source` into `dest` with the unzip in directory `startupLoc`,
// gives all of `dest` mode 0750 and records the command. 0, or -1 when unzip failed; that is said
// only when `source` does not exist or a signal ended unzip.
int CopyJars(const std::string& source, const std::string& dest, const std::string& startupLoc);

// Makes a directory; the outcome is not reported.
void CreateDir(const std::string& dirName);

// Free space for unprivileged users on the file system of `volName`, in kilobytes; 0 when it cannot
// be queried.
long getFreeSpace(const std::string& volName);

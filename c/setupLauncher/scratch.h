// The launch's time stamp, its temporary base and its scratch directory.
//
// Owns: where temporary files go, the name of the scratch directory, and the current directory in
// the launcher's form. Leaves to others: deleting trees (bootstrap/tree), and when the scratch
// directory goes away (launch).
#pragma once

#include <string>

// Forms the time stamp of this launch from the local time, as 2026-03-01_04-05-06PM.
void computeTimeStamp();

// `Temp` becomes the base for temporary files: -SCRATCHPATH, else TEMP, else (only without a TEMP)
// TMP, else /tmp. A base must be absolute and free of \ * ? < > : | ; to be taken.
void GetTempDir(std::string& Temp);

// The name of this launch's scratch directory under `base`; launches of the same second tell their
// directories apart by `suffix` above 0.
std::string scratch_name(const std::string& base, int suffix);
// Launches of one second have _1 to _1023.
inline constexpr int kHighestSuffix = 1023;

// Creates a scratch directory that no other launch has (mode 0750) under the base, which is created
// as well when it is missing. 0 with the directory in `Spath`, or -1 after a message.
int GetScratchPath(std::string& Spath);

// `pt` becomes the current directory without a trailing "/", so that the root directory is empty.
// 0, or -1 after a message.
int GetCurrentDir(std::string& pt);

// Deletes the scratch directory that GetScratchPath made for this launch, if it did.
void removeMadeScratch();

// Deletes the tree at `pPath`, itself included, without a word.
void cleanupScratchPath(const std::string& pPath);

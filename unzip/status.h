// The statuses with which unzip ends.
//
// Owns: their names; the numbers are those of the usual unzip. Leaves to others: when each is
// reached and what is said then.
//
// Of several that were reached, the greatest is the one to end with; only a full disk and an
// interruption, which end everything at once, go before all others.
#pragma once

inline constexpr int kUnzipFine = 0;
inline constexpr int kUnzipWarning = 1;
inline constexpr int kUnzipBroken = 2;          // an entry, or something that can be passed over
inline constexpr int kUnzipBrokenDirectory = 3; // the archive's own directory
inline constexpr int kUnzipNoMemory = 4;
inline constexpr int kUnzipNotFound = 9; // no such file, or it is no archive
inline constexpr int kUnzipWrongOptions = 10;
inline constexpr int kUnzipNothingMatched = 11;
inline constexpr int kUnzipOverlap = 12;
inline constexpr int kUnzipDiskFull =
    50; // or what is unpacked cannot be written for another reason
inline constexpr int kUnzipEndsEarly = 51;
inline constexpr int kUnzipInterrupted = 80;
inline constexpr int kUnzipUnknownMethod = 81;
inline constexpr int kUnzipEncrypted = 82;

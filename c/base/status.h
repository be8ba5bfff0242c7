// The status numbers that travel between the rooms of the launcher and to its caller.
//
// Owns: their names. Leaves to others: when each is returned and what is said then.
#pragma once

inline constexpr int kOk = 0;
// A failure that has been reported already; the shell sees 255.
inline constexpr int kFailed = -1;
// No parameter file anywhere; the shell sees 254.
inline constexpr int kNoParameterFile = -2;
// Started from a CD that has to be changed during the installation; the shell sees 253.
inline constexpr int kStartedFromCd = -3;
// The message catalogue cannot be opened, so nothing can be said.
inline constexpr int kNoCatalogue = 1;
// The parameter file certifies no version of this platform.
inline constexpr int kNoCertifiedVersions = 3;
inline constexpr int kBootstrapDone = 10;
inline constexpr int kBootstrapFailed = 30;
// A child that could not be waited for.
inline constexpr int kNoChildStatus = 255;

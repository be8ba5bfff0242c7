// Why a place cannot be written and why a command did not run to its end: what is said of it on
// standard error.
//
// Owns: the choice between the room that is missing and the system's own words, and between a
// process that could not be made and one that a signal ended. Leaves to others: the message beside
// it, which says what was to be done.
#pragma once

#include "platform/volume_room.h"

#include <string>

// What a usual bootstrap brings: an installer with a Java runtime, in bytes by the default of
// BOOTSTRAP_SIZE, in files by experience.
inline constexpr int kUsualBootstrapMegabytes = 69;
inline constexpr int kUsualBootstrapFiles = 1000;
inline constexpr Need kUsualNeed{std::uint64_t{kUsualBootstrapMegabytes} << 20,
                                 kUsualBootstrapFiles};

// Says that `need` does not fit into `directory`, of which `room` was left when it was tried, that
// `error` was the system's word for it, and which option names another directory.
void complain_of_room(const std::string& directory, const Room& room, const Need& need, int error);

// Says why `path` could not be made or written: for an `error` that speaks of room as above, with
// what is free now; else what stands in the way and the system's words. Nothing for error 0.
void complain_of_place(const std::string& path, int error, const Need& need);

// Says of `command`, which the launcher ran, that there was no process for it (a `status` of -1,
// with the system's `error`) or that a signal ended it; nothing of any other end, and nothing once
// a signal has been noted. `status` is as waitpid tells it.
void complain_of_command(const std::string& command, int status, int error);

// Why a place cannot be written: what is said of it on standard error.
//
// Owns: the choice between the room that is missing there and the system's own words. Leaves to
// others: the message before it, which says what was to be done there.
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

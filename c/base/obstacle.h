// What stands in the way to a path.
//
// Owns: finding the part of a path that is missing, that is no directory or that may not be
// searched, and a path's whole form for a message. Leaves to others: what is said of it.
#pragma once

#include <string>

// The part of a path that ends the way to it, and the system's error number; 0 without one.
struct Obstacle {
    std::string path;
    int error;
};

// The first part of `path` beyond which the way does not lead: a directory that may not be searched
// (EACCES), what is no directory (ENOTDIR), what is not there (ENOENT), and the like. Error 0 when
// `path` can be asked about.
Obstacle obstacle_on_way_to(const std::string& path);

// `path` from the root directory on, its directory without links and "..", where that can be found
// out; else behind the current directory. A link at its end stays.
std::string whole_path(const std::string& path);

// The longest part of `path` that exists; "/" or "." at the least.
std::string existing_part(const std::string& path);

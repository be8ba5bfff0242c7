// What a bootstrap needs.
//
// Owns: the room that the archives of a component and the files of a tree take. Leaves to others:
// unpacking and copying them (tree), what is free (platform/volume_room).
//
// Asked only for the archives before they are unpacked, whose tables of contents are short, and for
// a tree after its copy has failed.
#pragma once

#include "platform/volume_room.h"

#include <string>

// What all jars of `directory` take when they are unpacked on a file system whose files take
// multiples of `block` bytes, by their tables of contents; an archive that cannot be read takes
// nothing.
Need need_of_archives(const std::string& directory, std::uint64_t block);

// What the tree at `root` takes there.
Need need_of_tree(const std::string& root, std::uint64_t block);

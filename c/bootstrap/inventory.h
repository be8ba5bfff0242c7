// The inventory pointer: where an earlier installation keeps its inventory and the installer.
//
// Owns: the keys of the pointer file and of zul.loc. Leaves to others: the files' format (profile)
// and the inventory of the launch at hand (environment, install_log).
#pragma once

#include <string>

// `invLoc` becomes the inventory directory that /var/opt/talvex/talInst.loc names, or empty. Always
// 0; `size` is accepted and not used.
int GetInventoryLocation(std::string& invLoc, const int* size);

// Finds the installed installer through the inventory: 0 with its home and version (which may be
// empty), or -1 with both untouched. `size` is accepted and not used.
int GetZulLocation(std::string& zulLoc, int size, std::string& zulVersion);

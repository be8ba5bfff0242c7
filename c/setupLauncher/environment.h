// The environment that the installer inherits, and the check of the inventory's permissions.
//
// Owns: variables, limits and modes that are set before the installer starts, the expansion of the
// class path settings, the inventory check. Leaves to others: the command line itself
// (installer_command), the pointer file's other keys (bootstrap/inventory).
#pragma once

#include <string>
#include <string_view>

// Prepares the process for the installer: refuses the super-user, makes the java programs under
// `jreLoc` executable, raises the open-files limit, empties CLASSPATH and JAVA_HOME and, unless
// silent, looks for a display. 0, or -1 after a message.
int SetUNIXEnvironment(const std::string& jreLoc);

// 0 when DISPLAY is set and not empty, else -1 after the fifteen messages that help to set it.
int CheckDisplay();

// Puts `appndVal` and `delim` in front of the value of `var`; a variable that is not set gets
// `appndVal` alone. 0, or -1 when the environment refuses it.
int prefixToEnv(const char* var, std::string_view appndVal, std::string_view delim);

// Prefixes LD_LIBRARY_PATH with directory `extDir` of the scratch directory; null does nothing.
void addExtDir(const char* scratchLoc, std::string_view extDir);

// Prefixes LD_LIBRARY_PATH with the part of `extPath` from its first "ext" on, in the scratch
// directory; nothing without such a part, or for null.
void addExtPath(const char* scratchLoc, const char* extPath);

// Appends every piece of `addtoClasspathString` (separated by ":") to the expanded string as a path
// in the scratch directory, each followed by ":". An empty setting empties the output.
void ComputeAddtoClasspath(const std::string& scratchLoc, const std::string& addtoClasspathString,
                           std::string& expandedAddtoClasspathString);

// Appends every file of ext/jlib under `scratchLoc`, each with ":" before it. An empty setting
// empties the output; its text plays no further part.
void ComputeEXTClasspath(const std::string& scratchLoc, const std::string& extClasspathString,
                         std::string& expandedClassPathString);

// The inventory directory that a launch checks: from the command line, else from the pointer file;
// empty when there is none.
std::string inventory_location();

// Whether this user may work with the inventory's entry `path`.
bool usable_inventory_entry(const std::string& path);

// Whether the inventory directory can be used; it is created when it is missing. 0, also when no
// inventory is known, or -1 after a message.
int CheckInventoryPermissions();

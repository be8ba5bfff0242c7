// Locations of a launch: where the launcher lies, what session variables name, whether a CD is
// underneath, and the operator's groups.
//
// Owns: reading KEY=value arguments, absolute paths, the CD test, the group list. Leaves to others:
// which arguments are session variables (options), the mount table's format (platform).
#pragma once

#include <string>
#include <string_view>

// `StartupLoc` becomes the directory of the path the launcher was invoked by; "." without a "/".
void GetStartupLocation(std::string_view setupLauncherLoc, std::string& StartupLoc);

// The values of session variables, without double quotes around them. An argument without "=" or
// value leaves `sRetBuffer` as it is.
void GetBootStrapLoc(std::string& sRetBuffer, std::string_view sCommandLineArg);
// As before, but a value may hold "=".
void GetJvmOptions(std::string& sRetBuffer, std::string_view sCommandLineArg);
// As an absolute path where it exists, else as it stands.
void GetInventoryLoc(std::string& sRetBuffer, std::string_view sCommandLineArg);
// The same; with `useFromLoc` the value names a file of the stage and the location is "prereq"
// beside it.
void GetPrereqConfigLoc(std::string& sRetBuffer, std::string_view sCommandLineArg, bool useFromLoc);

// `absolutePath` becomes the absolute form of `relativePath`, or the path itself when it cannot be
// resolved, which only debug mode reports.
void GetAbsolutePath(std::string& absolutePath, const std::string& relativePath);

// -3 when `exepath` lies under the same top-level directory as a mounted CD, else 0.
int isCurDirInCD(std::string_view exepath);

// `unixGroups` becomes UnixGroups="{name,name,}" with the operator's supplementary groups, the
// first 40 of them; without any it stays as it is. The comma behind the last name belongs to the
// form.
void computeUnixGroups(std::string& unixGroups);

// `rootDir` becomes "/" and the first component of `path`; its length is returned.
int getRootDir(std::string_view path, std::string& rootDir);

// `dest` becomes `src` with "a" to "z" in upper case; its length is returned.
int toUpper(std::string_view src, std::string& dest);

// The upper-case form of an ASCII letter, any other code as it is.
int ascii_toupper(int c);

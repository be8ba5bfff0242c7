// What kind of Java home a location is, and what is passed on about sources.
//
// Owns: telling a runtime from a development kit, the demand for one of them, the installer's
// source location. Leaves to others: asking for a Java home (jreloc),
// starting it (spawn).
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Whether `jreDirLoc` is a runtime: lib/rt.jar or lib/core.jar lies in it.
bool isJreHome(const std::string& jreDirLoc);

// Holds the Java home against USEJREONLY and USEJDKONLY when the operator chose it (`bUseJreLoc`,
// or -JRELOC). 0 when it will do or nothing is demanded, else -1 after a message. Both demands at
// once refuse every home. The parameter file plays no part.
int validateJavaHome(const std::string& jreDirLoc, const std::string& paramFileLocation,
                     bool bUseJreLoc);

// Whether program `cmnd` is given and exists; that it can be executed is not asked.
bool IsJrePresent(const char* cmnd);

// Whether `srcJarLoc` begins with http:// in any case and goes on behind it.
bool isStartWithHttp(std::string_view srcJarLoc);

// Appends "-sourceLoc" and the source location to `arg`, unless there is none. Except for a web
// address it is first joined to directory `paramLoc`, in `srcJarLoc` itself.
void AddSourceLocation(std::string& srcJarLoc, std::vector<std::string>& arg,
                       const std::string& paramLoc);

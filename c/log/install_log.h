// The install log and the time log, and the one grammar of reporting.
//
// Owns: where the logs lie, their streams, and the helpers by which every room shows a message in
// the operator's language and records it in English with the same arguments. Leaves to others:
// when a log is opened and closed, and what is said.
//
// Logs hold exactly the bytes written, flushed after every write. No failure is reported here: a
// log that cannot be opened takes nothing.
#pragma once

#include "nls/catalogue.h"
#include "nls/format.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

// Full path of the install log; empty when it could not be opened.
extern std::string sLogLoc;
// Full path of the time log; empty when it could not be opened.
extern std::string sTimeLogLoc;

// Opens the install log for appending: in "logs" under the prerequisite log location, else under
// the inventory given on the command line, else under the one that the pointer file
// `invPtrLocation` names; without any of them in `scratchLoc` itself.
void openLog(const std::string& scratchLoc, const std::string& invPtrLocation,
             const std::string& gsTimeStamp, const std::string& gsLogFileName);
void closeLog();

// Opens the time log for appending, under the pointer file's inventory or in `scratchLoc`. Sets the
// file-creation mask to 007 for the rest of the process.
void openTimeLog(const std::string& scratchLoc, const std::string& invPtrLocation,
                 const std::string& gsTimeStamp);
void closeTimeLog();

// Appends `sMsg` to the install log.
void writeToInstallLog(const std::string& sMsg);
// Shows `sMsg` and appends it to the install log.
void logMsg(const std::string& sMsg);
// Shows `sMsg` only when `bLogToConsole` is exactly 1; appends it to the install log in any case.
void logAndShowMsg(const std::string& sMsg, int bLogToConsole);
// Appends `sMsg` to the time log.
void writeToTimeLog(const std::string& sMsg);

// A stream that appends to `path` and stays in this process; null when it cannot be opened.
std::FILE* open_for_appending(const std::string& path);

// The text of `key` as the catalogue has it, for the one pass of nls_out that is still to come.
// This and the next two give an empty text for a key that the catalogue lacks.
std::string unfilled_text(const char* key);
// The text of `key` filled with `args`, in the operator's language and in English.
std::string localised_text(const char* key, std::initializer_list<FormatArg> args = {});
std::string english_text(const char* key, std::initializer_list<FormatArg> args = {});

// Writes `text` to standard output as it is: a path in it may hold percent signs.
void print_text(const std::string& text);
// Puts `err_msg` into `fout`, or shows it on the console when `fout` is null.
void print_debug(std::string* fout, std::string_view err_msg);
// Writes `err_msg` and a line feed to standard error.
void print_error(std::string_view err_msg);
// Writes the localised text of `key` filled with `args`, `reason` and a line feed to standard
// error; nothing for a key that the catalogue lacks.
void complain_because(const char* key, std::initializer_list<FormatArg> args,
                      const std::string& reason);

// Shows the text of `key` on the console in the operator's language. Without arguments there is
// nothing to fill in, and nls_out is the only pass.
template <typename... Args>
void show(const char* key, const Args&... args) {
    if constexpr (sizeof...(Args) == 0)
        nls_out(nls_mesg(key));
    else
        nls_out(localised_text(key, {FormatArg(args)...}));
}

// Appends the English text of `key` to the install log.
template <typename... Args>
void record(const char* key, const Args&... args) {
    writeToInstallLog(english_text(key, {FormatArg(args)...}));
}

// Shows and then records.
template <typename... Args>
void report(const char* key, const Args&... args) {
    show(key, args...);
    record(key, args...);
}

// Writes the localised text of `key` and a line feed to standard error.
template <typename... Args>
void complain(const char* key, const Args&... args) {
    complain_because(key, {FormatArg(args)...}, "");
}

// The same, with the system's own words for the last error behind it.
template <typename... Args>
void complain_errno(const char* key, const Args&... args) {
    const int error = errno; // before anything that may change it
    complain_because(key, {FormatArg(args)...}, std::string(": ") + std::strerror(error));
}

// Text and path utilities that the whole launcher builds its paths from.
//
// Owns: joining, testing, creating and quoting paths, and the values inside a joined command line.
// Leaves to others: which paths there are; nothing here shows or records a message.
//
// A `const char*` may be null where a caller may have nothing to give.
#pragma once

#include <optional>
#include <string>
#include <string_view>

// Appends "/" unless `path` ends with one, then `dirName`; an empty `path` gets its "/" too.
void ConcatPath(std::string& path, std::string_view dirName);

// `path` with `name` appended as ConcatPath does.
std::string joined_path(std::string path, std::string_view name);

// `pt` becomes the full name of file `fn` in directory `pt`; an empty `pt` gives `fn` alone and a
// null one nothing.
void GetFullFileName(std::string* pt, std::string_view fn);

// Removes one trailing "/"; "/" alone becomes empty.
void NormalizeDir(std::string& pt);

// `path` up to its last "/", or the whole of it when it has none.
std::string cut_at_last_slash(std::string_view path);

// The number of characters of `sg` as an int.
int StringLn(std::string_view sg);

// Whether `pt` is given and exists, as any kind of file.
bool PathExists(const char* pt);
inline bool PathExists(const std::string& pt) {
    return PathExists(pt.c_str());
}

// Whether this user may read, write and search `pt`. Missing directories are created on the way
// (mode 0777 less the mask), every ancestor included. If not, errno says why.
bool PathWritable(const char* pt);
inline bool PathWritable(const std::string& pt) {
    return PathWritable(pt.c_str());
}

// Whether this user may read, write and search `path`; creates nothing.
bool allows_all_access(const std::string& path);

// Whether `path` holds none of: double quote * : < > ? |
bool CheckForInvalidCharactersInPath(std::string_view path);

// Whether `path` begins with "/" and holds none of: \ * ? < > : | ;
bool validatePath(std::string_view path);

// Removes white space at both ends; null does nothing.
void TrimString(std::string* str);

// Removes a closing double quote and, if there was one, also an opening one.
void StripQuotes(std::string& str);

// `str` itself when `orig` does not occur in it; otherwise a text that the next call overwrites, in
// which the first `orig` is `rep`.
const char* replaceStr(const char* str, const char* orig, const char* rep);

// `orig` with every "-J-" turned into "-"; nothing for nothing.
std::optional<std::string> replace_str(const char* orig);

// `argValue` becomes what follows `argName` in `commandLine`, up to the next " -" (or the end),
// without white space around it. Without the name it keeps its content.
void GetCommandLineArgValue(std::string_view argName, const char* commandLine,
                            std::string& argValue);

// The same, up to the next blank.
void GetCommandLineArgValueSpaceDelim(std::string_view argName, const char* commandLine,
                                      std::string& argValue);

// Does nothing and returns 0: other platforms resolve names here.
int GetFullPathName(const char* lpFileName, int nBufferLength, char* lpBuffer, char** lpFilePart);

// `text` as one word of a shell command: as it is when the shell sees nothing special in it, else
// in single quotes. An empty text stays empty: the command then fails for want of its operand.
std::string shell_word(std::string_view text);

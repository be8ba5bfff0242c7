// The reader of parameter files: sections in brackets and KEY=value lines.
//
// Owns: the format with its tolerance for bad lines, the keyed lookups, the iteration over a
// section and the tokenizer. Leaves to others: which keys exist and what a missing one means.
//
// Files are bytes: nothing is decoded, a byte 255 ends the data, and there are no comments. Every
// lookup searches the file as it is then: the lines of the last plain file are kept until it
// changes, those of anything else are read to their end each time. The position of the tokenizer in
// its line is shared.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

// Looks `pVarName` up in section `pSection` of the file; null searches the lines before the first
// header. `pValue` gets the value, or `pDefault` for a file, key or value that is not there; a
// missing section leaves it as it was. `nVal` is the size callers had in mind and does not matter.
void GenericGetPrivateProfileString(const char* pSection, const char* pVarName,
                                    const char* pDefault, std::string& pValue, int nVal,
                                    const char* pFileName);

// Looks first in `pSection`, then in `optBuffer`. 1 when the first gave a value that is not empty,
// else 2.
int GenericGetPrivateProfileStringFromINI(const char* pSection, const char* optBuffer,
                                          const char* pVarName, const char* pDefault,
                                          std::string& pValue, int nVal, const char* pFileName);

// Whether `file` can be read and has the section.
bool has_section(const char* section, const char* file);

// With `pSection`: moves the open stream behind that section's header. Without: takes the next
// entry, an unusable value as an empty one. 0, or -1 at the end of the section or the file.
int GenericGetPrivateProfileVarAndString(const char* pSection, std::string& pVarName,
                                         std::string& pValue, std::FILE* pFile);

// Takes a token from `psStrToBeParsed`, or from the rest of the line before when that is null.
// `bIgnoreSpace` keeps blanks inside the token (a value); without it a blank ends it (a key).
// 0, or -1 for a missing or malformed token, which leaves `token` alone.
int GetToken(const char* psStrToBeParsed, std::string& token, bool bIgnoreSpace);

// Whether a line without its line feed is a header; its trailing white space is then cut off. A
// section is found only by a line that is the header from its first byte on.
bool IsBlockHeader(std::string_view& line);

// A byte of this value ends the data.
inline constexpr int kByteThatEndsData = 255;

// Strips white space at both ends; a text of nothing else stays as it is.
void TrimToken(std::string& Token);

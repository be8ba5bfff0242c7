// The message catalogue: every text that the launcher shows or records.
//
// Owns: where the catalogue files lie, which of them fit the operator's locale, their conversion
// from UTF-8 to the locale's character set, the two tables (localised for the console, English for
// the log) and the output to the console. Leaves to others: what is said when, and with which
// arguments (the pairs of show and record are in log/install_log).
//
// A catalogue file is a run of records KEY=text, each ended by a NUL byte. What is printed from
// here before a catalogue is open is fixed English.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

// Bytes of one record without its NUL; a longer run is cut there and goes on as a new record.
inline constexpr std::size_t kMaxCatalogueRecord = 1023;
// Characters of a locale's name that are looked at.
inline constexpr std::size_t kMaxLocaleName = 31;

// Loads the catalogues beside the program `cmd` (the path it was invoked by) and puts the process
// into the environment's locale. 0, or 1 after a message on standard error.
int nls_open(const char* cmd);

// The text of `key` in the operator's language, or null for an unknown key.
const char* nls_mesg(const char* key);

// The English text of `key`, or null for an unknown key.
const char* nls_mesg_english(const char* key);

// Writes `mesg` to standard output, without a line end of its own and without a flush. "%%" in it
// becomes one percent sign and any other directive nothing: texts pass this also when a caller has
// already filled them. Null writes nothing.
void nls_out(const char* mesg);
void nls_out(const std::string& mesg);

// Releases both tables; no lookup may follow.
void nls_close();

// The steps of nls_open, open to the unit tests.
const char* nls_locale();
const char* nls_resdir(const char* cmd);
void nls_loadcat(std::FILE* fp);
void nls_loadcat_english(std::FILE* fp);

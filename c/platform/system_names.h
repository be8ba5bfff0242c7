// The names by which the system knows itself.
//
// Owns: asking uname. Leaves to others: what a release or a kind of machine means.
//
// A name that the system does not tell is empty.
#pragma once

#include <string>

// The release of the operating system, such as "5.11".
std::string getOSVersion();

// The kind of hardware, such as "i86pc".
std::string getMachineName();

// What arrived: the number of files of the two trees that matter most.
//
// Owns: counting a tree and the two lines of the install log. Leaves to others: bringing the files
// there (bootstrap, tree).
#pragma once

#include <string>

// The number of files below `dest` at any depth, links counted as what they lead to. 0 for null or
// what cannot be opened. Nothing is written, whatever the name says.
int CountAndLogFilesExtracted(const char* dest);

// Records the number of files in the runtime ("jre") and the installer ("zul") of the scratch
// directory.
void logBootStrapInformation(const std::string& tempLoc);

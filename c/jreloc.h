// The question for a Java runtime.
//
// Owns: the prompt, its wordings and what counts as an answer. Leaves to others: whether anybody is
// asked (launch) and whether the runtime is of the wanted kind (java_home).
#pragma once

#include <string>

// Asks until a directory with bin/java in it is named; `answer` becomes that directory as typed,
// up to a NUL. 0, or -1 at the end of the input.
int getJRELoc(std::string& answer);

// The same: the launchers of other platforms ask differently here.
int getVanillaJRELoc(std::string& answer);

// Why a program cannot be started: the line on standard error that says it.
//
// Owns: finding out what lies behind the system's error number, the words for it, and which options
// are a remedy. Leaves to others: the start (platform/program_start) and the message before it.
#pragma once

#include "platform/program_start.h"

#include <string>
#include <vector>

// Says which program could not be started, the reason in the system's words, what lies behind it as
// far as it can be told, and what to do. `arguments` are what it was to be given; `scratch` is the
// scratch directory: for a program in it, another one is a remedy.
void complain_of_start(const StartFailure& failure, const std::vector<std::string>& arguments,
                       const std::string& scratch);

// Says that the system refuses with `error` to start programs from the scratch directory `scratch`.
void complain_of_refusal(const std::string& scratch, int error);

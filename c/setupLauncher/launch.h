// The launch sequence.
//
// Owns: the order of the stages, what each gets, which results end the launch and with which
// status. Leaves to others: everything that a stage does.
#pragma once

// Runs a launch with the program's arguments and returns the status of the process.
int main_helper(int argc, char** argv);

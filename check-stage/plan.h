// What a launch would do from here, told without doing it.
//
// Owns: the steps of a launch in their order, each decided by the launcher's own rules, and where
// it would end. Leaves to others: the rules (the launcher's rooms), the settings' origins
// (plan_settings), the checks of the system (plan_prerequisites), the bootstrap (plan_bootstrap),
// the form of what is said (plan_text).
#pragma once

#include <string>
#include <vector>

// Tells the plan of a launch of the stage or home `directory` with these arguments. The process is
// where a caller would launch from, and is left somewhere else.
void print_plan(const std::string& directory, const std::vector<std::string>& arguments);

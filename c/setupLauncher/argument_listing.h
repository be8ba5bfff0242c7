// The numbered listing of an argument vector on the console.
//
// Owns: the form of the listing. Leaves to others: when a vector is worth listing (debug mode).
#pragma once

#include <string>
#include <vector>

// Shows the count and every element of `arguments`, numbered from 0, and the program in front.
void list_arguments(const std::vector<std::string>& arguments);

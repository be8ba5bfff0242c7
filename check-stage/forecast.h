// What a launch would find around it, asked without changing anything.
//
// Owns: whether directories that it makes could be made, its inventory, where its log lies, and
// texts in its language. Leaves to others: the steps of the plan (plan).
#pragma once

#include <string>

// Whether a launch could work in `path`, having made it with all that is missing above it.
bool could_be_used(std::string path);

// `path` or the nearest directory above it that exists.
std::string nearest_existing(std::string path);

// Opens copies of the catalogues beside the launcher, since reading leaves traces. False, and said
// on standard error, when a launch could open none; or when none can be copied, and `unwritable`
// then says why.
bool open_catalogue_copies(const std::string& launcher_directory, std::string& unwritable);

// Where the install log of a launch with this scratch directory lies.
std::string log_file(const std::string& scratch);

// The launcher's check of the inventory; where that would make the inventory, whether it could.
// Its status, with what would be said in `message`.
int check_inventory(std::string& message);

// Where the base of the scratch directory comes from.
std::string origin_of_base();

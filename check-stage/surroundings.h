// Every file and directory, whatever it is for: whether ordinary users can read it, where links
// lead, and what a path is taken for.
//
// Owns: the walk over all of it. Leaves to others: what files hold.
#pragma once

#include "inspection.h"
#include "shipment.h"

// A launch has to be able to read what `shipment` brings.
void check_surroundings(const Inspection& inspection, const Shipment& shipment);

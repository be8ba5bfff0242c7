// The Java runtime that a launch starts the installer on.
//
// Owns: where it comes from and lies in the end, whether it has a java program for this machine,
// and what the settings demand of it. Leaves to others: what is brought (shipment, cargo).
#pragma once

#include "cargo.h"
#include "inspection.h"

// Completes `settings.jreDirLoc` once the cargo is known: the home of a runtime that was brought,
// or the one given beforehand. Several entries under jre/ leave the choice to the file system; the
// first by name is taken here.
void settle_runtime(Settings& settings, const Shipment& shipment, const Cargo& cargo);

// Reports what is wrong with the runtime. `settings` are settled.
void check_runtime(const Inspection& inspection, const Settings& settings, const Shipment& shipment,
                   const Cargo& cargo);

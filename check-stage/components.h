// The components of a stage: what the parameter file lists and what the stage has.
//
// Owns: entries without a component, a version or a payload, the choice of the highest version,
// payloads that nothing names. Leaves to others: what is in a payload (cargo), the runtime
// (runtime).
#pragma once

#include "inspection.h"
#include "shipment.h"

// The process is in the launcher's directory. False when something that is to be brought is not
// there, so that what it would hold is missing everywhere.
bool check_components(const Inspection& inspection, const Shipment& shipment);

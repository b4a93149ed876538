#pragma once

#include "importer/host/Errors.h"

namespace importer::host {

/// From this call on, a signal that requests termination (Ctrl-C, SIGTERM, SIGHUP) no longer ends the program; instead, each
/// later call of checkInterruption throws. A signal that is ignored stays ignored.
void catchInterruptions();

/// @throws ImportError if such a signal has arrived.
void checkInterruption();

} // namespace importer::host

#pragma once

#include "importer/host/Errors.h"

namespace importer::host {

/// From this call on, a signal that requests termination (Ctrl-C, SIGTERM, SIGHUP) does not end the program at once; the
/// next call of checkInterruption does. A signal that is ignored stays ignored.
void catchInterruptions();

/// @throws ImportError after such a signal.
void checkInterruption();

} // namespace importer::host

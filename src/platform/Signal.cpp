#include <Velmor/Platform.h>

#include "os/os.h"

namespace Velmor {

Signal::Signal() : event_(os::createEvent()) {}

Signal::~Signal() {
    os::closeHandle(event_);
}

// Frozen: both objects close the event, and the previous event of the target is never closed.
Signal& Signal::operator=(const Signal& other) = default;

void Signal::raise() {
    os::setEvent(event_);
}

void Signal::wait() {
    os::waitForEvent(event_);
}

} // namespace Velmor

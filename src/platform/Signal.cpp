#include <Velmor/Platform.h>

#include "os/os.h"

namespace Velmor {

Signal::Signal() : event_(os::createEvent()) {}

Signal::~Signal() {
    os::closeHandle(event_);
}

// Shares the event and leaves the former one open, on purpose.
Signal& Signal::operator=(const Signal& other) = default;

void Signal::raise() {
    os::setEvent(event_);
}

void Signal::wait() {
    os::waitForEvent(event_);
}

} // namespace Velmor

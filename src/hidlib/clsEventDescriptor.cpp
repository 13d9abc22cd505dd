#include "hidlib/clsEventDescriptor.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

clsEventDescriptor::clsEventDescriptor() : m_descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (m_descriptor < 0) throw std::system_error(errno, std::generic_category());
}

clsEventDescriptor::~clsEventDescriptor() { close(m_descriptor); }

void clsEventDescriptor::Signal() {
    // Fails only when the count is at its limit, and then the descriptor is readable already.
    [[maybe_unused]] const int result = eventfd_write(m_descriptor, 1);
}

void clsEventDescriptor::Drain() {
    eventfd_t count = 0;
    [[maybe_unused]] const int result = eventfd_read(m_descriptor, &count);  // fails when there was nothing
}

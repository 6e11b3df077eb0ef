#include "Wakeup.h"

#include <sys/eventfd.h>
#include <unistd.h>

Wakeup::Wakeup() : m_descriptor(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

Wakeup::~Wakeup() {
    close(m_descriptor);
}

void Wakeup::wake() {
    m_isSet = true;
    (void)eventfd_write(m_descriptor, 1);  // can only fail when it is set beyond counting
}

void Wakeup::clear() {
    m_isSet = false;
    eventfd_t count;
    (void)eventfd_read(m_descriptor, &count);  // fails when it was not set
}

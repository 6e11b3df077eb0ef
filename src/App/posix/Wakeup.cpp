#include "Wakeup.h"

#include <sys/eventfd.h>
#include <unistd.h>

Wakeup::Wakeup() : m_descriptor(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

Wakeup::~Wakeup() {
    close(m_descriptor);
}

void Wakeup::wake() {
    (void)eventfd_write(m_descriptor, 1);  // can only fail when it is set beyond counting
    // The mark comes last. A clear() between the two would otherwise leave a descriptor that is readable without a
    // mark, and a thread that looks for the mark would find none and poll again and again.
    m_isSet = true;
}

void Wakeup::clear() {
    m_isSet = false;
    eventfd_t count;
    (void)eventfd_read(m_descriptor, &count);  // fails when it was not set
}

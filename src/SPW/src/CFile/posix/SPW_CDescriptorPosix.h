#pragma once

#include <unistd.h>

#include <utility>

// A descriptor that is closed with its owner; -1 for none.
class SPW_CDescriptorPosix {
public:
    explicit SPW_CDescriptorPosix(int number = -1) : m_number(number) {}
    ~SPW_CDescriptorPosix() { (void)close(); }
    SPW_CDescriptorPosix(const SPW_CDescriptorPosix&) = delete;
    SPW_CDescriptorPosix& operator=(const SPW_CDescriptorPosix&) = delete;

    int number() const { return m_number; }
    bool isOpen() const { return m_number >= 0; }
    // Instead of the present one, which is closed.
    void reset(int number) {
        (void)close();
        m_number = number;
    }
    // False, with errno, when the system only now tells that something was not written.
    bool close() { return m_number < 0 || ::close(std::exchange(m_number, -1)) == 0; }

private:
    int m_number;
};

#pragma once

#include <cstdint>
#include <string>

// Two network namespaces with a veth pair between them, which nobody else sees and which vanish with the benchmark:
// 10.199.0.1 is the device that is measured, and the far one answers for 10.199.0.2 and for any address of
// 10.200.0.0/16. The latter are routed through 10.199.0.2, so that a thousand peers take one neighbour entry.
class Network {
public:
    // Moves this process into the near namespace. Ends the program when namespaces cannot be made.
    Network();
    ~Network();
    Network(const Network&) = delete;
    Network& operator=(const Network&) = delete;

    static constexpr char kNearAddress[] = "10.199.0.1";

    int near() const { return m_near; }
    int far() const { return m_far; }
    // The address of peer 0, 1, 2 ... 60000.
    static std::string peerAddress(int peer);

private:
    int m_near;
    int m_far;
};

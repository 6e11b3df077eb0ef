#pragma once

#include <sys/types.h>

#include <cstddef>
#include <functional>

// One end of the line between a measurement and one of its processes. Plain values go over it in the order in which the
// two sides agree; a side that finds the other gone ends the whole run, since nothing sensible can follow.
class Line {
public:
    explicit Line(int descriptor) : m_descriptor(descriptor) {}

    template <typename Value>
    void send(const Value& value) {
        sendBytes(&value, sizeof value);
    }
    template <typename Value>
    Value receive() {
        Value value;
        receiveBytes(&value, sizeof value);
        return value;
    }
    // For steps that carry nothing: "I am ready", "go on".
    void signal() { send('!'); }
    void await() { (void)receive<char>(); }
    // For poll().
    int descriptor() const { return m_descriptor; }

private:
    void sendBytes(const void* bytes, std::size_t size);
    void receiveBytes(void* bytes, std::size_t size);

    int m_descriptor;
};

// A process of a measurement. It dies with the benchmark, whatever ends that, and is killed with the object.
class Child {
public:
    // Runs body in a copy of this process, in the network namespace of that descriptor.
    Child(int network, const std::function<void(Line&)>& body);
    // Runs a program instead, its output thrown away.
    Child(int network, char* const* arguments);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    Line& line() { return m_line; }
    pid_t pid() const { return m_pid; }
    // Waits until the process has ended by itself.
    void join();

private:
    pid_t m_pid;
    int m_descriptor;
    Line m_line;
};

// Ends the program with that text.
[[noreturn]] void giveUp(const char* what);

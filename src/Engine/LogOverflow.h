#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "SPW_CMessage.h"

// The lines that found no room in the queue of the log's writer. They wait here, in their order. The threads that have
// made them go on.
//
// The room is bounded. The owner counts a line that finds no room here either. The count stands in front of the next
// line that finds room, or behind the last one.
//
// Threads: none; the owner locks.
class LogOverflow {
public:
    static constexpr std::uint64_t kNever = UINT64_MAX;

    struct Line {
        std::unique_ptr<SPW_CMessage> message;
        std::uint64_t lateFrom100ns = kNever;  // as SPW_CClock::now100ns() counts
        std::uint32_t lostInFront = 0;         // lines that found no room here since the line in front
    };
    struct Content {
        std::vector<Line> lines;
        std::uint32_t lostBehind = 0;

        // Neither a line nor a count.
        bool isEmpty() const { return lines.empty() && lostBehind == 0; }
    };

    explicit LogOverflow(std::uint32_t mostBytes) : m_mostBytes(mostBytes) {}

    bool isEmpty() const { return m_content.isEmpty(); }
    // Takes the message when there is room for it, and leaves it with the caller otherwise.
    bool add(std::unique_ptr<SPW_CMessage>& message, std::uint64_t lateFrom100ns);
    void countLost() { ++m_content.lostBehind; }
    // Everything that is here; empty afterwards.
    Content take();

private:
    static std::uint32_t sizeOf(const SPW_CMessage& message);

    const std::uint32_t m_mostBytes;
    std::uint32_t m_bytes = 0;
    Content m_content;
};

#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "SPW_CMessage.h"

// The lines that found no room in the queue of the log's writer. They wait here, in their order. The threads that have
// made them go on.
//
// The room is bounded. The owner counts a line that finds no room here either. The count stands in front of the next
// line that finds room, or behind the last one.
//
// Threads: none; the owner locks. Nothing here takes memory, because a thread that gets none keeps the owner's lock for
// ever.
class LogOverflow {
public:
    static constexpr std::uint64_t kNever = UINT64_MAX;

    struct Line {
        Line(std::unique_ptr<SPW_CMessage> itsMessage, std::uint64_t itIsLateFrom100ns)
            : message(std::move(itsMessage)), lateFrom100ns(itIsLateFrom100ns) {}

        std::unique_ptr<SPW_CMessage> message;
        std::uint64_t lateFrom100ns;    // as SPW_CClock::now100ns() counts
        std::uint32_t lostInFront = 0;  // lines that found no room here since the line in front
        std::unique_ptr<Line> next;
    };
    // A queue of lines, and how many were lost behind the last one.
    class Content {
    public:
        Content() = default;
        Content(Content&& other) noexcept;
        Content& operator=(Content&& other) noexcept;
        ~Content();

        // Neither a line nor a count.
        bool isEmpty() const { return m_first == nullptr && m_lostBehind == 0; }
        void countLost() { ++m_lostBehind; }
        // What was lost behind the last line stands in front of this one.
        void append(std::unique_ptr<Line> line);
        // The first line, or null. It is no longer here.
        std::unique_ptr<Line> takeFirst();
        // How many were lost behind the last line. They are no longer counted.
        std::uint32_t takeLost();

    private:
        std::unique_ptr<Line> m_first;
        Line* m_last = nullptr;
        std::uint32_t m_lostBehind = 0;
    };

    explicit LogOverflow(std::uint32_t mostBytes) : m_mostBytes(mostBytes) {}

    bool isEmpty() const { return m_content.isEmpty(); }
    // Takes the line when there is room for it, and leaves it with the caller otherwise.
    bool add(std::unique_ptr<Line>& line);
    void countLost() { m_content.countLost(); }
    // Everything that is here; empty afterwards.
    Content take();

private:
    static std::uint32_t sizeOf(const Line& line);

    const std::uint32_t m_mostBytes;
    std::uint32_t m_bytes = 0;
    Content m_content;
};

#pragma once

#include <cstdint>
#include <vector>

#include "SPW_CObject.h"
#include "SPW_CString.h"
#include "SPW_Types.h"

// A self-describing byte message: values are pushed one after another, each followed by a one-byte type id, and popped
// in reverse order with a check of the type id.
//
// For transport a message travels as a packet with a four-byte header (27, 1, length of the body high byte first). A
// receiving message puts packets together again from a byte stream that may be cut anywhere and may begin with garbage:
// start(), then feed() until the packet is complete, then pop.
//
// Errors stay in the message: the first one is reported once and kept, and nothing is popped after it until clear() or
// start(). Threads: a message belongs to one thread at a time.
class SPW_CMessage : public SPW_CObject {
public:
    static constexpr SPW_Result kEmpty = 240;       // the body does not hold the value that was asked for
    static constexpr SPW_Result kNoRoom = 241;      // a block is larger than the caller's buffer, a body than a packet
    static constexpr SPW_Result kWrongType = 244;   // the last value is of another type
    static constexpr SPW_Result kNotStarted = 245;  // feed() before start()
    static constexpr std::uint32_t kMaximumPacketBody = 65535;

    SPW_CMessage();

    void pushChar(char value);
    void pushWide(char16_t value);
    void pushInt(std::int32_t value);
    void pushLong(std::int32_t value);
    void pushUnsigned(std::uint32_t value);
    void pushValue(std::uint32_t value);
    // Copies `count` bytes.
    void pushBlock(const void* bytes, std::uint32_t count);
    void pushString(const SPW_CString& value);

    // True when the last value was of this type and has been taken; else the argument is left as it was and error()
    // says why.
    bool popChar(char& value);
    bool popWide(char16_t& value);
    bool popInt(std::int32_t& value);
    bool popLong(std::int32_t& value);
    bool popUnsigned(std::uint32_t& value);
    bool popValue(std::uint32_t& value);
    // `size` is the room in `buffer` in bytes; `count` becomes the size of the block.
    bool popBlock(void* buffer, std::uint32_t size, std::uint32_t& count);
    // Takes 16-bit texts and 8-bit ones, which are converted from the system's code page.
    bool popString(SPW_CString& value);
    // Removes the type id of the last value when it is the expected one; the step that every pop begins with.
    bool popTypeCheck(char expected);

    // 0, or the code of the first error since clear() or start().
    SPW_Result error() const { return m_error; }
    bool isEmpty() const { return m_body.empty(); }
    const std::vector<std::uint8_t>& body() const { return m_body; }
    // Empties the body and forgets the error. The receiver and the packet-error count stay as they are.
    void clear();
    // The body as hexadecimal numbers, "[0x1b][0x1]...", for traces.
    SPW_CString dump() const;

    // The packet that carries the body. False, and nothing in `packet`, when the body is above kMaximumPacketBody,
    // which is reported and not kept: the message is as good as before.
    [[nodiscard]] bool toPacket(std::vector<std::uint8_t>& packet) const;

    // Begins to receive one packet into this message, which is cleared.
    void start();
    // Takes bytes of a stream. `consumed` is how many of them belong to this packet or to garbage before it; the rest
    // is for the next packet. `completed`: the body is there; call start() before the next feed.
    // 0, or kNotStarted, which consumes nothing.
    SPW_Result feed(const std::uint8_t* bytes, std::uint32_t count, std::uint32_t& consumed, bool& completed);
    // Headers of an unknown format seen so far; each is skipped, and told to the user.
    std::uint32_t packetErrors() const { return m_packetErrors; }

private:
    static constexpr std::uint32_t kHeaderBytes = 4;
    static constexpr std::int32_t kStartNotCalled = -1;

    void pushBytes(const void* bytes, std::size_t count);
    void pushNumber(std::uint32_t value, int bytes);
    void pushTyped(std::uint32_t value, int bytes, char typeId);
    bool popNumber(std::uint32_t& value, int bytes);
    bool popTyped(std::uint32_t& value, int bytes, char typeId);
    bool popSize(std::uint64_t unit, std::uint64_t& bytes);
    bool fail(SPW_Result code, int line, const char* method, const SPW_CString& text);
    void takeHeaderByte(std::uint8_t byte);

    std::vector<std::uint8_t> m_body;  // a stack: the last byte is the type id of the last value
    SPW_Result m_error;
    std::int32_t m_expectedLength;  // of the body; kStartNotCalled while no packet is being received
    std::uint32_t m_headerCount;    // header bytes held
    std::uint8_t m_header[kHeaderBytes];
    std::uint32_t m_packetErrors;
};

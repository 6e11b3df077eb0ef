// A stream of packets gives the same messages however it is cut into pieces, nothing is read beyond a piece, and
// whatever body arrives can be popped without harm.

#include <cstdint>
#include <memory>
#include <vector>

#include "Require.h"
#include "SPW_CError.h"
#include "SPW_CMessage.h"

namespace {

typedef std::vector<std::uint8_t> Bytes;

// Receives every message of a stream that comes in pieces.
class Stream {
public:
    Stream() { m_message.start(); }
    void feed(const std::uint8_t* bytes, std::size_t count) {
        // A block of exactly this size lets the sanitizer see a read beyond it.
        const std::unique_ptr<std::uint8_t[]> piece(new std::uint8_t[count]);
        for (std::size_t i = 0; i < count; ++i) {
            piece[i] = bytes[i];
        }
        std::uint32_t done = 0;
        while (done < count) {
            std::uint32_t consumed = 0;
            bool completed = false;
            const SPW_Result result =
                m_message.feed(piece.get() + done, static_cast<std::uint32_t>(count) - done, consumed, completed);
            require(result == 0, "bytes are taken after start");
            require(consumed > 0, "progress");
            done += consumed;
            require(completed || done == count, "bytes are left only behind a packet");
            if (completed) {
                bodies.push_back(m_message.body());
                popAll();
                m_message.start();
            }
        }
    }
    std::uint32_t packetErrors() const { return m_message.packetErrors(); }

    std::vector<Bytes> bodies;

private:
    void popAll() {
        while (m_message.error() == 0 && !m_message.isEmpty()) {
            const std::size_t before = m_message.body().size();
            const bool popped = popOne(static_cast<char>(m_message.body().back()));
            require(popped == (m_message.error() == 0), "a pop succeeds or leaves an error");
            require(!popped || m_message.body().size() < before, "a popped value is gone");
        }
    }
    bool popOne(char typeId) {
        char narrow;
        char16_t wide;
        std::int32_t number;
        std::uint32_t value;
        char block[64];
        SPW_CString text;
        switch (typeId) {
            case 'c':
                return m_message.popChar(narrow);
            case 'w':
                return m_message.popWide(wide);
            case 'i':
                return m_message.popInt(number);
            case 'l':
                return m_message.popLong(number);
            case 'u':
                return m_message.popUnsigned(value);
            case 'v':
                return m_message.popValue(value);
            case 'd':
                return m_message.popBlock(block, sizeof block, value);
            default:
                return m_message.popString(text);
        }
    }

    SPW_CMessage m_message;
};

}  // namespace

// The first byte says how the rest is cut: into pieces of that size, of sizes that grow by one for 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    SPW_CError::instance->setNoBox(true);
    const std::size_t step = data[0];
    const std::uint8_t* const bytes = data + 1;
    const std::size_t count = size - 1;

    Stream whole;
    whole.feed(bytes, count);
    Stream cut;
    std::size_t length = step == 0 ? 1 : step;
    for (std::size_t done = 0; done < count;) {
        const std::size_t piece = length < count - done ? length : count - done;
        cut.feed(bytes + done, piece);
        done += piece;
        length += step == 0 ? 1 : 0;
    }
    require(whole.bodies == cut.bodies, "the cuts change no message");
    require(whole.packetErrors() == cut.packetErrors(), "the cuts change no packet error");
    return 0;
}

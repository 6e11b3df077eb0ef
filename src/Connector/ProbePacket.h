#pragma once

#include <cstdint>

#include "SPW_CString.h"

// The one packet that every TCP, UDP and multicast probe consists of, an 8-bit text:
//
//     Vantiro Diagnostic|<sequence>|<sender's name><NUL>
//
// The sequence number is signed decimal. The name may itself hold "|"; the packet rules do not look into it.
// No field has a fixed width, there is no length prefix and no byte order.
namespace ProbePacket {

constexpr char16_t kTag[] = u"Vantiro Diagnostic";
constexpr int kTagLength = 18;
// Most bytes that a receiver takes in one call; what is longer arrives truncated.
constexpr int kReceiveSize = 1000;
// A receive buffer has room for one byte more than it receives into: parse() puts a NUL there.
constexpr int kBufferSize = kReceiveSize + 1;

// The packet's text without its NUL.
SPW_CString compose(std::int32_t sequence, const SPW_CString& name);

// A packet as it goes on the wire, in the system's 8-bit code page.
//
// Its length is that of the wide text plus one, for the NUL. The two agree as long as every character makes one
// byte; when some make more, the bytes on the wire end before the converted text does.
class Bytes {
public:
    explicit Bytes(const SPW_CString& text);
    ~Bytes();
    Bytes(const Bytes&) = delete;
    Bytes& operator=(const Bytes&) = delete;
    const char* data() const { return m_data; }
    int length() const { return m_length; }

private:
    // Holds any packet with an ordinary name, so that a probe costs no heap.
    static constexpr int kInlineSize = 512;
    int m_length;
    char m_inline[kInlineSize];
    char* m_data;
};

// What a received packet says.
struct Received {
    std::int32_t sequence = 0;
    // Points into the parsed chunk; NUL-terminated, in the system's 8-bit code page.
    const char* name = nullptr;
};

// Takes a received chunk of count bytes apart; chunk has room for count + 1 and is changed. False: not a probe,
// and packet is left alone. Any bytes are allowed; nothing is allocated. A number that does not fit in 32 bits
// becomes the nearest one that does.
bool parse(char* chunk, int count, Received& packet);

}  // namespace ProbePacket

#include "ProbePacket.h"

#include <gmock/gmock.h>

#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

using testing::IsEmpty;
using testing::Not;

namespace {

struct Vector {
    std::string name;
    std::string bytes;
    bool accepted;
    std::int32_t sequence;
    std::string text;
};

std::string fromHex(const std::string& hex) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        bytes.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

std::vector<Vector> readVectors() {
    std::ifstream file(PACKET_DATA);
    std::vector<Vector> vectors;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string name, bytes, sequence, text;
        if (line[0] != '#' && words >> name >> bytes >> sequence) {
            const bool accepted = sequence != "rejected";
            words >> text;
            vectors.push_back({name, fromHex(bytes), accepted, accepted ? std::stoi(sequence) : 0, fromHex(text)});
        }
    }
    return vectors;
}

// A chunk as receivers hold it: no NUL behind it, room for one.
class Chunk {
public:
    explicit Chunk(std::string bytes) : m_bytes(std::move(bytes)), m_count(static_cast<int>(m_bytes.size())) {
        m_bytes.push_back('9');
    }
    bool parse() { return ProbePacket::parse(m_bytes.data(), m_count, m_packet); }
    std::int32_t sequence() const { return m_packet.sequence; }
    std::string name() const { return m_packet.name; }

private:
    std::string m_bytes;
    int m_count;
    ProbePacket::Received m_packet;
};

std::string onTheWire(std::int32_t sequence, const SPW_CString& name) {
    const ProbePacket::Bytes bytes(ProbePacket::compose(sequence, name));
    return std::string(bytes.data(), static_cast<std::size_t>(bytes.length()));
}

}  // namespace

// --- Making packets

TEST(ProbePacketTest, HoldsTagSequenceNameAndNul) {
    EXPECT_EQ(onTheWire(12, u"1.0|Hall||"), std::string("Vantiro Diagnostic|12|1.0|Hall||\0", 33));
}

TEST(ProbePacketTest, SequenceZeroIsOneDigit) {
    EXPECT_EQ(onTheWire(0, u""), std::string("Vantiro Diagnostic|0|\0", 22));
}

TEST(ProbePacketTest, NegativeSequenceParsesBackToTheSameValue) {
    for (const std::int32_t sequence : {-1, -17, -2147483647 - 1, 2147483647}) {
        const std::string bytes = onTheWire(sequence, u"n");
        EXPECT_EQ(bytes, "Vantiro Diagnostic|" + std::to_string(sequence) + "|n" + std::string(1, '\0'));
        Chunk chunk(bytes);
        ASSERT_TRUE(chunk.parse());
        EXPECT_EQ(chunk.sequence(), sequence);
    }
}

TEST(ProbePacketTest, LengthIsThatOfTheWideTextWhateverItConvertsTo) {
    // 21 characters of one byte each, then three that make more than one byte in UTF-8: the bytes end early.
    const std::string bytes = onTheWire(5, u"\u00e9\u20ac\u00e9");
    ASSERT_EQ(bytes.size(), 21u + 3u + 1u);
    SPW_CString whole(u"Vantiro Diagnostic|5|\u00e9\u20ac\u00e9");
    const std::string converted(whole.toAnsi());
    EXPECT_EQ(bytes, (converted + std::string(4, '\0')).substr(0, bytes.size()));
}

TEST(ProbePacketTest, LongNamesTravelWhole) {
    SPW_CString name;
    name.fill(u'|', 70000);
    const std::string bytes = onTheWire(5, name);
    EXPECT_EQ(bytes, "Vantiro Diagnostic|5|" + std::string(70000, '|') + std::string(1, '\0'));
}

// --- Reading packets

TEST(ProbePacketTest, EveryChunkIsReadAsTheTableSays) {
    const std::vector<Vector> vectors = readVectors();
    ASSERT_THAT(vectors, Not(IsEmpty()));
    for (const Vector& vector : vectors) {
        Chunk chunk(vector.bytes);
        const bool accepted = chunk.parse();
        EXPECT_EQ(accepted, vector.accepted) << vector.name;
        if (accepted) {
            EXPECT_EQ(chunk.sequence(), vector.sequence) << vector.name;
            EXPECT_EQ(chunk.name(), vector.text) << vector.name;
        }
    }
}

TEST(ProbePacketTest, EveryChunkOfTheTableIsASeedOfTheFuzzer) {
    for (const Vector& vector : readVectors()) {
        std::ifstream seed(std::string(PACKET_SEEDS "/") + vector.name, std::ios::binary);
        std::ostringstream bytes;
        bytes << seed.rdbuf();
        EXPECT_TRUE(seed.is_open() && bytes.str() == vector.bytes) << vector.name;
    }
}

TEST(ProbePacketTest, NineteenBytesOrFewerAreNeverAProbe) {
    for (std::size_t size = 0; size <= 19; ++size) {
        EXPECT_FALSE(Chunk(std::string("Vantiro Diagnostic|5|n").substr(0, size)).parse()) << size;
        EXPECT_FALSE(Chunk(std::string(size, '|')).parse()) << size;
    }
}

TEST(ProbePacketTest, AnyByteStandsForTheSeparatorBehindTheTag) {
    for (int byte = 0; byte < 256; ++byte) {
        std::string bytes = onTheWire(7, u"n");
        bytes[ProbePacket::kTagLength] = static_cast<char>(byte);
        Chunk chunk(bytes);
        EXPECT_TRUE(chunk.parse() && chunk.sequence() == 7 && chunk.name() == "n") << byte;
    }
}

TEST(ProbePacketTest, BytesBehindTheChunkAreNotRead) {
    // The buffer still holds digits and a name of an earlier packet behind the two digits received now.
    char buffer[] = "Vantiro Diagnostic|12345|earlier";
    ProbePacket::Received packet;
    EXPECT_FALSE(ProbePacket::parse(buffer, 21, packet));
    char longer[] = "Vantiro Diagnostic|1|ab earlier";
    ASSERT_TRUE(ProbePacket::parse(longer, 23, packet));
    EXPECT_STREQ(packet.name, "ab");
}

TEST(ProbePacketTest, RejectedChunkLeavesTheResultAlone) {
    char buffer[] = "Vantiro Diagnostic|5";
    ProbePacket::Received packet;
    packet.sequence = 4711;
    EXPECT_FALSE(ProbePacket::parse(buffer, 20, packet));
    EXPECT_EQ(packet.sequence, 4711);
    EXPECT_EQ(packet.name, nullptr);
}

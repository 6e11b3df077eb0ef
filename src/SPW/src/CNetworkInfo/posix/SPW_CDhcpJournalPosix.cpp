#include <algorithm>
#include <charconv>
#include <string>

#include "SPW_CAddressTextPosix.h"
#include "SPW_CClock.h"
#include "SPW_CDhcpLeasePosix.h"
#include "SPW_CDhcpNumbersPosix.h"

// dhclient.leases: statements that end with ";", words separated by blanks, texts in double quotes, "#" comments.
//
//     lease {
//       interface "eth0";
//       fixed-address 10.0.0.5;
//       option dhcp-lease-time 600;
//       option dhcp-server-identifier 10.0.0.1;
//       expire 5 2026/11/20 10:00:00;
//     }

namespace {

using SPW_CDhcpLeasePosix::JournalEntry;

constexpr std::string_view kBlanks = " \t\r\n\f\v";
constexpr std::string_view kEndOfWord = " \t\r\n\f\v;{}\"#";
constexpr std::size_t kLongestWord = 256;
constexpr std::uint64_t k100nsPerSecond = 10000000;

// A word, a text without its quotes, or one of ; { }; empty at the end. Only the beginning of a very long one is kept:
// nothing that matters here is long.
class Tokens {
public:
    explicit Tokens(std::string_view text) : m_rest(text) {}

    bool take(std::string& token) {
        token.clear();
        skipBlanksAndComments();
        if (m_rest.empty()) {
            return false;
        }
        const char first = m_rest.front();
        if (first == '"') {
            takeQuoted(token);
        } else if (first == ';' || first == '{' || first == '}') {
            takeBytes(token, 1);
        } else {
            takeBytes(token, std::min(m_rest.find_first_of(kEndOfWord), m_rest.size()));
        }
        return true;
    }

private:
    void takeBytes(std::string& token, std::size_t count) {
        token = m_rest.substr(0, std::min(count, kLongestWord));
        m_rest.remove_prefix(count);
    }
    void skipBlanksAndComments() {
        for (;;) {
            m_rest.remove_prefix(std::min(m_rest.find_first_not_of(kBlanks), m_rest.size()));
            if (m_rest.empty() || m_rest.front() != '#') {
                return;
            }
            m_rest.remove_prefix(std::min(m_rest.find('\n'), m_rest.size()));
        }
    }
    void takeQuoted(std::string& token) {
        std::size_t i = 1;
        while (i < m_rest.size() && m_rest[i] != '"') {
            const char byte = takeByte(i);
            if (token.size() < kLongestWord) {
                token += byte;
            }
        }
        m_rest.remove_prefix(std::min(i + 1, m_rest.size()));
    }

    // Reads one byte of a text and moves the position behind it. The byte stands as itself, as a backslash and itself,
    // or as a backslash and its octal number.
    char takeByte(std::size_t& i) const {
        const char byte = m_rest[i++];
        if (byte != '\\' || i == m_rest.size()) {
            return byte;
        }
        if (!isOctalDigit(m_rest[i])) {
            return m_rest[i++];
        }
        int number = 0;
        for (int digits = 0; digits < 3 && i < m_rest.size() && isOctalDigit(m_rest[i]); ++digits) {
            number = number * 8 + (m_rest[i++] - '0');
        }
        return static_cast<char>(number);
    }
    static bool isOctalDigit(char byte) { return byte >= '0' && byte <= '7'; }

    std::string_view m_rest;
};

typedef std::vector<std::string> Words;

// One lease block while it is read.
struct Block {
    JournalEntry entry;
    std::int64_t duration = 0;
};

// "2026/11/20" or "10:00:00".
bool readThree(const std::string& text, char separator, int (&numbers)[3]) {
    const char* next = text.data();
    const char* const end = next + text.size();
    for (int i = 0; i < 3; ++i) {
        if (i > 0 && (next == end || *next++ != separator)) {
            return false;
        }
        const std::from_chars_result result = std::from_chars(next, end, numbers[i]);
        if (result.ec != std::errc()) {
            return false;
        }
        next = result.ptr;
    }
    return next == end;
}

// The words behind "expire": "epoch <seconds>", "<day of the week> <date> <time>" in UTC, or "never", which stays 0.
std::int64_t timeOf(const Words& words) {
    std::int64_t seconds = 0;
    if (words.size() == 3 && words[1] == "epoch") {
        return SPW_CDhcpNumbersPosix::read(words[2], seconds) && seconds > 0 ? seconds : 0;
    }
    int date[3];
    int time[3];
    if (words.size() != 4 || !readThree(words[2], '/', date) || !readThree(words[3], ':', time)) {
        return 0;
    }
    SPW_CalendarTime calendar;
    calendar.year = date[0];
    calendar.month = date[1];
    calendar.day = date[2];
    calendar.hour = time[0];
    calendar.minute = time[1];
    calendar.second = time[2];
    // What no calendar shows counts as 0, which is long before 1970.
    const std::int64_t unixSeconds =
        static_cast<std::int64_t>(SPW_CClock::fromUtc(calendar) / k100nsPerSecond) - SPW_CClock::kSecondsFrom1601To1970;
    return std::max<std::int64_t>(unixSeconds, 0);
}

void readOption(const Words& words, Block& block) {
    if (words.size() != 3) {
        return;
    }
    if (words[1] == "dhcp-server-identifier") {
        (void)SPW_CAddressTextPosix::parse(words[2], block.entry.lease.server);
    } else if (words[1] == "dhcp-lease-time") {
        (void)SPW_CDhcpNumbersPosix::read(words[2], block.duration);
    }
}

void readStatement(const Words& words, Block& block) {
    if (words.empty()) {
        return;
    }
    if (words[0] == "interface" && words.size() == 2) {
        block.entry.interfaceName = words[1];
    } else if (words[0] == "fixed-address" && words.size() == 2) {
        (void)SPW_CAddressTextPosix::parse(words[1], block.entry.lease.address);
    } else if (words[0] == "expire") {
        block.entry.lease.expires = timeOf(words);
    } else if (words[0] == "option") {
        readOption(words, block);
    }
}

void addBlock(const Block& block, std::vector<JournalEntry>& entries) {
    if (block.entry.lease.address == 0) {
        return;
    }
    entries.push_back(block.entry);
    SPW_CDhcpLease& lease = entries.back().lease;
    lease.obtained = SPW_CDhcpNumbersPosix::beginning(lease.expires, block.duration);
    // dhclient notes an end for a lease that has none: when its number of seconds would be over, some time after 2100.
    if (block.duration == SPW_CDhcpNumbersPosix::kForEver) {
        lease.expires = 0;
    }
}

}  // namespace

std::vector<JournalEntry> SPW_CDhcpLeasePosix::parseJournal(std::string_view journal) {
    std::vector<JournalEntry> entries;
    Tokens tokens(journal);
    std::string token;
    Words words;
    Block block;
    bool inLease = false;
    while (tokens.take(token)) {
        if (token == "{") {
            inLease = words.size() == 1 && words[0] == "lease";
            block = Block();
            words.clear();
        } else if (token == "}") {
            if (inLease) {
                addBlock(block, entries);
            }
            inLease = false;
            words.clear();
        } else if (token == ";") {
            if (inLease) {
                readStatement(words, block);
            }
            words.clear();
        } else if (words.size() < 8) {  // no statement that matters has more words
            words.push_back(token);
        }
    }
    return entries;
}

#include "SPW_CNetlinkPosix.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <vector>

#include "SPW_CNetlinkAnswerPosix.h"
#include "SPW_CSysError.h"
#include "SPW_CSysErrorPosix.h"

namespace {

using SPW_CNetlinkAnswerPosix::Answer;

constexpr int kAttempts = 5;
// The kernel fills 32 KiB at most per answer of a table.
constexpr std::size_t kReceiveBuffer = 65536;

class Channel {
public:
    Channel() : m_descriptor(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE)) {}
    ~Channel() {
        if (m_descriptor != -1) {
            (void)::close(m_descriptor);
        }
    }
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    bool isOpen() const { return m_descriptor != -1; }

    bool send(std::uint16_t type) {
        struct {
            nlmsghdr head;
            rtgenmsg body;
        } request{};
        request.head.nlmsg_len = NLMSG_LENGTH(sizeof request.body);
        request.head.nlmsg_type = type;
        request.head.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
        request.body.rtgen_family = AF_INET;
        // With links the kernel takes the family for that of a protocol's own settings; it wants none.
        if (type == RTM_GETLINK) {
            request.body.rtgen_family = AF_UNSPEC;
        }
        sockaddr_nl kernel{};
        kernel.nl_family = AF_NETLINK;
        return ::sendto(m_descriptor, &request, request.head.nlmsg_len, 0, reinterpret_cast<const sockaddr*>(&kernel),
                        sizeof kernel) != -1;
    }

    // One datagram of the kernel's, whole. -1 with errno.
    ssize_t receive(std::vector<char>& buffer) {
        sockaddr_nl sender{};
        socklen_t senderSize = sizeof sender;
        ssize_t size;
        do {
            // Other programs can send to this socket too; only the kernel is number 0.
            size = ::recvfrom(m_descriptor, buffer.data(), buffer.size(), MSG_TRUNC,
                              reinterpret_cast<sockaddr*>(&sender), &senderSize);
        } while ((size == -1 && errno == EINTR) || (size >= 0 && sender.nl_pid != 0));
        if (size <= static_cast<ssize_t>(buffer.size())) {
            return size;
        }
        errno = EMSGSIZE;
        return -1;
    }

private:
    const int m_descriptor;
};

SPW_Result readOnce(std::uint16_t request, std::string& messages, bool& isOutdated) {
    messages.clear();
    Channel channel;
    if (!channel.isOpen() || !channel.send(request)) {
        return SPW_CSysErrorPosix::fail();
    }
    std::vector<char> buffer(kReceiveBuffer);
    Answer answer;
    while (answer.progress == SPW_CNetlinkAnswerPosix::kMore) {
        const ssize_t size = channel.receive(buffer);
        if (size == -1) {
            return SPW_CSysErrorPosix::fail();
        }
        const std::string_view datagram(buffer.data(), static_cast<std::size_t>(size));
        answer = SPW_CNetlinkAnswerPosix::examine(datagram);
        isOutdated = isOutdated || answer.isOutdated;
        messages.append(datagram);
    }
    errno = answer.error;
    return answer.error == 0 ? kSysOk : SPW_CSysErrorPosix::fail();
}

}  // namespace

SPW_Result SPW_CNetlinkPosix::readTable(std::uint16_t request, std::string& messages) {
    SPW_Result code = kSysOk;
    bool isOutdated = true;
    for (int attempt = 0; attempt < kAttempts && code == kSysOk && isOutdated; ++attempt) {
        isOutdated = false;
        code = readOnce(request, messages, isOutdated);
    }
    if (code != kSysOk) {
        messages.clear();
    }
    return code;
}

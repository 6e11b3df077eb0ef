#include <cerrno>
#include <memory>
#include <mutex>
#include <utility>

#include "SPW_CIcmp.h"
#include "SPW_CIcmpChannel.h"
#include "SPW_CSysError.h"
#include "SPW_CSysErrorPosix.h"

namespace {

thread_local SPW_Result lastCode = kSysOk;

// The one raw socket of the process. It is open while a service uses it, or to the end if it was opened ahead. With a
// raw socket for every service the kernel would copy every reply to every one of them: a thousand pingers would drown
// in their copies.
std::mutex rawLock;
// Below: under rawLock.
int rawUsers = 0;
bool isRawKept = false;
SPW_CIcmpChannel* rawChannel = nullptr;

void keepRawChannel() {
    const std::lock_guard<std::mutex> guard(rawLock);
    if (rawChannel == nullptr) {
        rawChannel = SPW_CIcmpChannel::open(SPW_CIcmpChannel::kRaw).release();
    }
    isRawKept = rawChannel != nullptr;
    if (isRawKept && rawUsers == 0) {
        rawChannel->setHearing(false);
    }
}

// Null, with errno saying why, when this process may have no raw socket.
SPW_CIcmpChannel* takeRawChannel() {
    const std::lock_guard<std::mutex> guard(rawLock);
    if (isRawKept && rawUsers == 0) {
        rawChannel->setHearing(true);
    } else if (rawChannel == nullptr) {
        rawChannel = SPW_CIcmpChannel::open(SPW_CIcmpChannel::kRaw).release();
    }
    rawUsers += rawChannel != nullptr ? 1 : 0;
    return rawChannel;
}

void giveRawChannelBack() {
    const std::lock_guard<std::mutex> guard(rawLock);
    if (--rawUsers > 0) {
        return;
    }
    if (isRawKept) {
        rawChannel->setHearing(false);
    } else {
        delete rawChannel;
        rawChannel = nullptr;
    }
}

// What a handle points at: a channel of its own, or a share of the raw one.
class Service {
public:
    explicit Service(std::unique_ptr<SPW_CIcmpChannel> own) : m_own(std::move(own)), m_channel(m_own.get()) {}
    explicit Service(SPW_CIcmpChannel* raw) : m_channel(raw) {}
    ~Service() {
        if (m_own == nullptr) {
            giveRawChannelBack();
        }
    }
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    SPW_Result echo(const SPW_EchoRequest& request, SPW_EchoReply& reply) {
        return m_channel->echo(m_echoes, request, reply);
    }
    void cancel() { m_channel->cancel(m_echoes); }

private:
    const std::unique_ptr<SPW_CIcmpChannel> m_own;
    SPW_CIcmpChannel* const m_channel;
    SPW_CIcmpChannel::Group m_echoes;
};

class PosixIcmp final : public SPW_CIcmp {
public:
    // A user in net.ipv4.ping_group_range needs no privilege. All others need one for the raw socket.
    void openAhead() override {
        if (SPW_CIcmpChannel::open(SPW_CIcmpChannel::kDatagram) == nullptr) {
            keepRawChannel();
        }
    }

    SPW_Handle open() override {
        std::unique_ptr<SPW_CIcmpChannel> own = SPW_CIcmpChannel::open(SPW_CIcmpChannel::kDatagram);
        if (own != nullptr) {
            return new Service(std::move(own));
        }
        SPW_CIcmpChannel* raw = takeRawChannel();
        if (raw != nullptr) {
            return new Service(raw);
        }
        lastCode = SPW_CSysErrorPosix::systemCode(errno);
        return nullptr;
    }

    void close(SPW_Handle service) override { delete static_cast<Service*>(service); }

    void cancel(SPW_Handle service) override {
        if (service != nullptr) {
            static_cast<Service*>(service)->cancel();
        }
    }

    void echo(SPW_Handle service, const SPW_EchoRequest& request, SPW_EchoReply& reply) override {
        SPW_Result code = kSysOk;
        if (service == nullptr) {
            code = kSysInvalidHandle;
        } else if (reply.bufferSize < kSmallestIcmpReply) {
            code = kSysInsufficientBuffer;
        } else {
            code = static_cast<Service*>(service)->echo(request, reply);
        }
        reply.count = code == kSysOk ? 1 : 0;
        if (code != kSysOk) {
            lastCode = code;
        }
    }

    SPW_Result lastError() override { return lastCode; }
};

PosixIcmp posixIcmp;

}  // namespace

SPW_CIcmp* SPW_CIcmp::instance = &posixIcmp;

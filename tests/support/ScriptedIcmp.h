#pragma once

#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "SPW_CClock.h"
#include "SPW_CIcmp.h"
#include "SPW_CSysError.h"

// An echo service without a network. Every address answers at once unless the script says otherwise; one that does
// not answer lets the time-out pass on the process's clock (with a ScriptedClock: no real time), and an echo without
// one waits for its cancel. Any thread.
class ScriptedIcmp : public SPW_CIcmp {
public:
    struct Request {
        SPW_CIpAddress address;
        std::string bytes;
        std::uint32_t replySize = 0;
        std::uint32_t timeoutMs = 0;
    };

    // Script: the next `times` calls fail with this code.
    void failOpen(SPW_Result code, int times = 1) {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_openFailures.insert(m_openFailures.end(), static_cast<std::size_t>(times), code);
    }
    void failEcho(SPW_Result code, int times = 1) {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_echoFailures.insert(m_echoFailures.end(), static_cast<std::size_t>(times), code);
    }
    // Script: whether an address answers.
    void setAnswers(const SPW_CIpAddress& address, bool answers) {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_answers[keyOf(address)] = answers;
    }
    // Script: what every reply tells of its way.
    void setReply(std::uint32_t roundTripUs, std::uint8_t timeToLive) {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_roundTripUs = roundTripUs;
        m_timeToLive = timeToLive;
    }
    // Script: while on, every echo waits for its end inside the call.
    void setHeld(bool held) {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_held = held;
        m_changed.notify_all();
    }

    // Script: as on a handheld, an echo that waits does not hear of a cancel.
    void ignoreCancels() {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_ignoresCancels = true;
    }

    // Record: every request that was sent, failed ones (failEcho) not.
    std::vector<Request> requests() {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_requests;
    }
    int openServices() {
        const std::lock_guard<std::mutex> guard(m_lock);
        return static_cast<int>(m_services.size());
    }
    // Waits until so many requests have been sent.
    void waitForRequests(std::size_t count) {
        std::unique_lock<std::mutex> lock(m_lock);
        m_changed.wait(lock, [&] { return m_requests.size() >= count; });
    }

    SPW_Handle open() override {
        const std::lock_guard<std::mutex> guard(m_lock);
        SPW_Result code = kSysOk;
        if (takeFailure(m_openFailures, code)) {
            lastCode() = code;
            return nullptr;
        }
        // Handles only have to differ from null and from one another.
        const SPW_Handle service = reinterpret_cast<SPW_Handle>(++m_lastService);
        m_services.insert(service);
        return service;
    }

    void close(SPW_Handle service) override {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_services.erase(service);
        m_cancelled.erase(service);
    }

    void cancel(SPW_Handle service) override {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (m_services.count(service) != 0) {
            m_cancelled.insert(service);
            m_changed.notify_all();
        }
    }

    void echo(SPW_Handle service, const SPW_EchoRequest& request, SPW_EchoReply& reply) override {
        reply.count = isAnswered(service, request, reply.bufferSize) ? 1 : 0;
        const std::lock_guard<std::mutex> guard(m_lock);
        reply.roundTripUs = m_roundTripUs;
        reply.timeToLive = m_timeToLive;
    }

    SPW_Result lastError() override { return lastCode(); }

private:
    // Tells why not through lastError().
    bool isAnswered(SPW_Handle service, const SPW_EchoRequest& request, std::uint32_t replySize) {
        bool answered = false;
        {
            std::unique_lock<std::mutex> lock(m_lock);
            const SPW_Result code = refusalOf(service, replySize);
            if (code != kSysOk) {
                lastCode() = code;
                return false;
            }
            m_requests.push_back({request.address,
                                  std::string(static_cast<const char*>(request.data), request.dataSize), replySize,
                                  request.timeoutMs});
            m_changed.notify_all();
            const auto found = m_answers.find(keyOf(request.address));
            answered = found == m_answers.end() || found->second;
            const bool endless = !answered && request.timeoutMs == kSPWForever;
            m_changed.wait(lock, [&] { return (!m_held && !endless) || (isCancelled(service) && !m_ignoresCancels); });
            if (isCancelled(service)) {
                lastCode() = kSysOperationAborted;
                return false;
            }
        }
        if (!answered) {
            SPW_CClock::instance->sleepMs(request.timeoutMs);
            lastCode() = kIcmpTimedOut;
        }
        return answered;
    }

    static SPW_Result& lastCode() {
        static thread_local SPW_Result code = kSysOk;
        return code;
    }
    static std::uint32_t keyOf(const SPW_CIpAddress& address) {
        return static_cast<std::uint32_t>(address.octet(0)) << 24 | static_cast<std::uint32_t>(address.octet(1)) << 16 |
               static_cast<std::uint32_t>(address.octet(2)) << 8 | address.octet(3);
    }
    static bool takeFailure(std::vector<SPW_Result>& failures, SPW_Result& code) {
        if (failures.empty()) {
            return false;
        }
        code = failures.front();
        failures.erase(failures.begin());
        return true;
    }
    bool isCancelled(SPW_Handle service) const { return m_cancelled.count(service) != 0; }
    // Why an echo is not sent; kSysOk when it is.
    SPW_Result refusalOf(SPW_Handle service, std::uint32_t replySize) {
        SPW_Result code = kSysOk;
        if (m_services.count(service) == 0) {
            return kSysInvalidHandle;
        }
        if (replySize < kSmallestIcmpReply) {
            return kSysInsufficientBuffer;
        }
        if (isCancelled(service)) {
            return kSysOperationAborted;
        }
        (void)takeFailure(m_echoFailures, code);
        return code;
    }

    std::mutex m_lock;
    std::condition_variable m_changed;
    // All below: under m_lock.
    std::uintptr_t m_lastService = 0;
    std::set<SPW_Handle> m_services;
    std::set<SPW_Handle> m_cancelled;
    std::vector<SPW_Result> m_openFailures;
    std::vector<SPW_Result> m_echoFailures;
    std::map<std::uint32_t, bool> m_answers;
    std::uint32_t m_roundTripUs = 0;
    std::uint8_t m_timeToLive = 64;
    bool m_held = false;
    bool m_ignoresCancels = false;
    std::vector<Request> m_requests;
};

#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "Patience.h"
#include "ProbeEventSink.h"

// Keeps every report of the probe objects as one line of text:
//
//     error <kind> <port> <address> <code>: <message>
//     received <kind> <port> <sender> #<sequence>: <text>
//     sent <kind> <port> <target> #<sequence>: <text>
//
// Any thread may report. The test waits for as many reports as it expects.
class RecordingSink : public ProbeEventSink {
public:
    void onSocketError(ProbeKind kind, std::uint32_t port, const SPW_CString& address, SPW_Result code,
                       const SPW_CString& message) override {
        add("error " + head(kind, port, address) + std::to_string(code) + ": " + message.toAnsi());
    }
    void onDataReceived(ProbeKind kind, std::uint32_t port, const SPW_CString& sender, std::int32_t sequence,
                        const SPW_CString& text) override {
        add("received " + head(kind, port, sender) + "#" + std::to_string(sequence) + ": " + text.toAnsi());
    }
    void onDataSent(ProbeKind kind, std::uint32_t port, const SPW_CString& target, std::int32_t sequence,
                    const SPW_CString& text) override {
        add("sent " + head(kind, port, target) + "#" + std::to_string(sequence) + ": " + text.toAnsi());
    }

    // The reports since the last call.
    std::vector<std::string> take() {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return std::exchange(m_events, {});
    }
    // Waits until at least that many reports stand there untaken. False when that does not happen.
    bool waitFor(std::size_t count) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, kPatience, [&] { return m_events.size() >= count; });
    }

private:
    static std::string head(ProbeKind kind, std::uint32_t port, const SPW_CString& address) {
        return std::to_string(kind) + " " + std::to_string(port) + " " + address.toAnsi() + " ";
    }
    void add(std::string event) {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_events.push_back(std::move(event));
        m_changed.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_events;
};

#pragma once

#include <gmock/gmock.h>

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "Patience.h"
#include "ProbeEventSink.h"

// One report of a probe object.
struct ProbeReport {
    enum What { kError, kReceived, kSent };

    What what = kError;
    ProbeKind kind = kTcpipConnector;
    std::uint32_t port = 0;
    std::string address;
    std::int32_t sequence = 0;  // of what was received or sent
    SPW_Result code = 0;        // of an error
    std::string text;           // the error's message, or what the probe carried

    // The whole of it:
    //
    //     error <kind> <port> <address> <code>: <message>
    //     received <kind> <port> <sender> #<sequence>: <text>
    //     sent <kind> <port> <target> #<sequence>: <text>
    std::string line() const {
        static const char* const kVerbs[] = {"error", "received", "sent"};
        const std::string number = what == kError ? std::to_string(code) : "#" + std::to_string(sequence);
        return std::string(kVerbs[what]) + " " + std::to_string(kind) + " " + std::to_string(port) + " " + address +
               " " + number + ": " + text;
    }
};

inline void PrintTo(const ProbeReport& report, std::ostream* out) {
    *out << report.line();
}

// Match a report by what a test is about. The test of a class that names the whole line stands beside these.
MATCHER_P(IsSent, sequence, "") {
    return arg.what == ProbeReport::kSent && arg.sequence == sequence;
}
MATCHER_P2(IsReceived, sender, sequence, "") {
    return arg.what == ProbeReport::kReceived && arg.address == sender && arg.sequence == sequence;
}
MATCHER_P(IsError, code, "") {
    return arg.what == ProbeReport::kError && arg.code == static_cast<SPW_Result>(code);
}

// How a reply came.
struct ReplyMeasurement {
    std::size_t reportsBefore = 0;  // untaken ones
    std::string address;
    std::uint32_t roundTripUs = 0;
    std::uint8_t timeToLive = 0;
};

// How what a connector sends got on, as a line. Of a failure the code follows, of an unanswered connection the figures:
//
//     connecting | open | unanswered <packets> packets, <time-outs> time-outs, <age> ms | refused <code> ...
inline std::string lineOf(const ProbeOut& out) {
    static const char* const kStates[] = {"unknown", "connecting", "open",  "unanswered",
                                          "refused", "timed out",  "failed"};
    std::string line = kStates[out.state];
    if (out.code != 0) {
        line += " " + std::to_string(out.code);
    }
    if (out.packets != 0 || out.timeouts != 0 || out.ageMs != 0) {
        line += " " + std::to_string(out.packets) + " packets, " + std::to_string(out.timeouts) + " time-outs, " +
                std::to_string(out.ageMs) + " ms";
    }
    return line;
}

// Keeps every report of the probe objects. A further kind of report gets a list of its own here: a test that names all
// reports of this list is not about it.
//
// Any thread may report. The test waits for as many reports as it expects.
class RecordingSink : public ProbeEventSink {
public:
    void onSocketError(ProbeKind kind, std::uint32_t port, const SPW_CString& address, SPW_Result code,
                       const SPW_CString& message) override {
        add({ProbeReport::kError, kind, port, address.toAnsi(), 0, code, message.toAnsi()});
    }
    void onDataReceived(ProbeKind kind, std::uint32_t port, const SPW_CString& sender, std::int32_t sequence,
                        const SPW_CString& text) override {
        add({ProbeReport::kReceived, kind, port, sender.toAnsi(), sequence, 0, text.toAnsi()});
    }
    void onDataSent(ProbeKind kind, std::uint32_t port, const SPW_CString& target, std::int32_t sequence,
                    const SPW_CString& text) override {
        add({ProbeReport::kSent, kind, port, target.toAnsi(), sequence, 0, text.toAnsi()});
    }

    void onReplyMeasured(const SPW_CString& address, std::uint32_t roundTripUs, std::uint8_t timeToLive) override {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_measurements.push_back({m_reports.size(), address.toAnsi(), roundTripUs, timeToLive});
    }

    void onOutState(ProbeKind kind, const SPW_CString& target, const ProbeOut& out) override {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_outStates.push_back(std::to_string(kind) + " " + target.toAnsi() + " " + lineOf(out));
    }

    // The reports since the last call of this or take().
    std::vector<ProbeReport> takeReports() {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return std::exchange(m_reports, {});
    }
    // The same as lines.
    std::vector<std::string> take() {
        std::vector<std::string> lines;
        for (const ProbeReport& report : takeReports()) {
            lines.push_back(report.line());
        }
        return lines;
    }
    // How replies came, since the last call of this.
    std::vector<ReplyMeasurement> takeMeasurements() {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return std::exchange(m_measurements, {});
    }
    // How connectors got on, since the last call of this: "<kind> <target> " and a line as lineOf() makes it.
    std::vector<std::string> takeOutStates() {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return std::exchange(m_outStates, {});
    }
    // Waits until at least that many reports stand there untaken. False when that does not happen.
    bool waitFor(std::size_t count) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, kPatience, [&] { return m_reports.size() >= count; });
    }

private:
    void add(ProbeReport report) {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_reports.push_back(std::move(report));
        m_changed.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<ProbeReport> m_reports;
    std::vector<ReplyMeasurement> m_measurements;
    std::vector<std::string> m_outStates;
};

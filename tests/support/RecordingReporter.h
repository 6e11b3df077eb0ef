#pragma once

#include <gmock/gmock.h>

#include <cstdlib>
#include <mutex>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "SPW_CError.h"
#include "SPW_CString.h"
#include "ScopedInstance.h"

// One report as the user would have seen it, all texts in the 8-bit code page.
struct RecordedReport {
    unsigned long code = 0;
    std::string className;
    std::string method;
    std::string module;  // the file-name part
    int line = 0;
    std::string message;
    std::string caption;

    bool isFatal() const { return caption == "Internal Fatal Error"; }
};

inline void PrintTo(const RecordedReport& report, std::ostream* out) {
    *out << "[" << report.caption << "] " << report.code << " " << report.className << "::" << report.method << " in "
         << report.module << ":" << report.line << " -> \"" << report.message << "\"";
}

// Stands in for the process's reporter as long as the object lives, and keeps every report. A fatal report does not
// end the program; boxes are answered at once. Any thread may report.
class RecordingReporter {
public:
    struct Box {
        std::string text;
        std::string caption;
        SPW_CMessageBox::Buttons buttons;
        SPW_CMessageBox::Icon icon;
    };

    RecordingReporter() : m_box(*this), m_installed(m_reporter) {
        m_reporter.setNoExit(true);
        m_reporter.setShowErrors(true);
        m_reporter.setMessageBox(&m_box);
    }
    RecordingReporter(const RecordingReporter&) = delete;
    RecordingReporter& operator=(const RecordingReporter&) = delete;

    // The reporter itself, for its switches, its log and its listeners.
    SPW_CError& reporter() { return m_reporter; }
    // What the user answers from now on.
    void setAnswer(SPW_CMessageBox::Answer answer) {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_answer = answer;
    }
    // Every box so far, those of userInfo included.
    std::vector<Box> boxes() {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_boxes;
    }
    std::vector<RecordedReport> reports() {
        std::vector<RecordedReport> reports;
        for (const Box& box : boxes()) {
            if (box.icon == SPW_CMessageBox::kIconError) {
                reports.push_back(parse(box));
            }
        }
        return reports;
    }
    // The reports since the last call.
    std::vector<RecordedReport> takeReports() {
        std::vector<RecordedReport> taken = reports();
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_boxes.clear();
        return taken;
    }

private:
    class Recorder : public SPW_CMessageBox {
    public:
        explicit Recorder(RecordingReporter& owner) : m_owner(owner) {}
        Answer show(const SPW_CString& text, const SPW_CString& caption, Buttons buttons, Icon icon) override {
            const std::lock_guard<std::mutex> guard(m_owner.m_mutex);
            m_owner.m_boxes.push_back({text.toAnsi(), caption.toAnsi(), buttons, icon});
            return m_owner.m_answer;
        }

    private:
        RecordingReporter& m_owner;
    };

    // Takes "Error (code) in class::method, module:line", a line end and the message apart.
    static RecordedReport parse(const Box& box) {
        RecordedReport report;
        report.caption = box.caption;
        std::string_view rest = box.text;
        const auto upTo = [&rest](std::string_view end) {
            const std::size_t length = rest.find(end);
            const std::string piece(rest.substr(0, length));
            rest.remove_prefix(length == std::string_view::npos ? rest.size() : length + end.size());
            return piece;
        };
        upTo("Error (");
        report.code = std::strtoul(upTo(") in ").c_str(), nullptr, 10);
        report.className = upTo("::");
        report.method = upTo(", ");
        report.module = upTo(":");
        report.line = std::atoi(upTo("\n").c_str());
        report.message = rest;
        return report;
    }

    std::mutex m_mutex;
    std::vector<Box> m_boxes;
    SPW_CMessageBox::Answer m_answer = SPW_CMessageBox::kAnswerOk;
    Recorder m_box;
    SPW_CError m_reporter;
    const ScopedInstance<SPW_CError> m_installed;
};

// Matches one report: EXPECT_THAT(reporter.takeReports(), ElementsAre(IsReport("SPW_CFile", "flush", 6, "flush
// error"))); hence "exactly one report" is ElementsAre with one matcher, "none" is IsEmpty().
MATCHER_P4(IsReport, className, method, code, message, "") {
    return arg.className == className && arg.method == method && arg.code == static_cast<unsigned long>(code) &&
           arg.message == message;
}

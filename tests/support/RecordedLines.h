#pragma once

#include <functional>
#include <string>
#include <vector>

#include "ReportLines.h"

// Keeps the lines of a report, in the 8-bit code page.
class RecordedLines : public ReportLines {
public:
    void line(const SPW_CString& text) override {
        lines.emplace_back(text.toAnsi());
        if (onLine) {
            onLine(lines.back());
        }
    }

    // The lines that `print` writes.
    static std::vector<std::string> of(const std::function<void(ReportLines&)>& print) {
        RecordedLines recorded;
        print(recorded);
        return recorded.lines;
    }

    std::vector<std::string> lines;
    // What the test does when a line has come, before the next.
    std::function<void(const std::string&)> onLine;
};

#pragma once

#include "SPW_CString.h"

// Receives the lines of a report in their order. Threads: the one that makes the report.
class ReportLines {
public:
    virtual ~ReportLines() = default;
    // text: one line, without a line end.
    virtual void line(const SPW_CString& text) = 0;
};

#pragma once

#include "SPW_CString.h"

// Where the lines of a report go. They come one after another, on the thread that makes the report.
class ReportLines {
public:
    virtual ~ReportLines() = default;
    // text: one line, without a line end.
    virtual void line(const SPW_CString& text) = 0;
};

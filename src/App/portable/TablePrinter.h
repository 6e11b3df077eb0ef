#pragma once

#include "PeerRowValues.h"
#include "SPW_CArray.h"
#include "SPW_CString.h"

// One snapshot of all rows as a table for a person to read.
struct TableHeading {
    SPW_CString localTime;             // when the snapshot was taken, "HH:MM:SS"
    int testNumber = 0;                // number of the test, from 1
    std::uint32_t elapsedSeconds = 0;  // since this test began
    bool isFinal = false;
};

// A table as wide as it needs to be.
constexpr int kAnyWidth = 0;

// A heading line, the column headers and one line per row, in the order given; lines end with LF.
// Columns are as wide as their widest cell on the screen; a longer label than 60 columns is cut. With no row, one line
// says so.
// width: columns of the terminal, or kAnyWidth. Where the table is wider its headers get two lines, then the gaps one
// column, then the headers one word; the label has the rest of the room. Its address is not cut, so on less than some
// 50 columns lines are longer than the terminal.
SPW_CString formatTable(const TableHeading& heading, const SPW_CArray<PeerRowValues>& rows, int width = kAnyWidth);

// How many of the rows have at least minimumQuality percent.
int countReachable(const SPW_CArray<PeerRowValues>& rows, int minimumQuality);

// The closing line of a run, such as "2 of 3 peers reachable (quality at least 1 %)" or "no peer was found".
SPW_CString formatVerdict(const SPW_CArray<PeerRowValues>& rows, int minimumQuality);

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

// Returns a heading line, the column headers and one line per row, in the order given. The columns are those of the
// peer list, then the state and the mean round-trip time; "-" stands where there is none. Lines end with LF. Columns
// are as wide as their widest cell on the screen. A label longer than 60 columns is cut. Without rows one line says
// that there are none.
//
// width: columns of the terminal, or kAnyWidth. A table that is wider is made narrower in steps: first its headers get
// two lines, then its gaps one column, then its headers one word. Then it goes without the round-trip time, and at last
// without the state. The label has the rest of the room. Its address is never cut, and lines are therefore longer than
// a terminal of less than some 50 columns.
SPW_CString formatTable(const TableHeading& heading, const SPW_CArray<PeerRowValues>& rows, int width = kAnyWidth);

// What a run asks of its peers.
struct Demands {
    int minimumQuality = 1;     // percent
    bool allowsSilent = false;  // whether a peer that is silent now can count as reachable
};

// How many of the rows meet the demands.
int countReachable(const SPW_CArray<PeerRowValues>& rows, const Demands& demands);

// The closing line of a run, such as "2 of 3 peers reachable (quality at least 1 %), 1 degraded, 1 silent" or "no peer
// was found". A peer of which some kind is silent counts as degraded. What there is none of is not named.
//
// tooSilent: how many of the rows were silent for longer than is allowed.
SPW_CString formatVerdict(const SPW_CArray<PeerRowValues>& rows, const Demands& demands, int tooSilent = 0);

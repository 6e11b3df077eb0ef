#pragma once

#include <cstdint>

#include "PeerTable.h"
#include "SPW_CArray.h"
#include "SPW_CString.h"

// Cuts a command line, without the program's path, into tokens at spaces (nothing else, a tab included, separates).
// Double quotes keep spaces together, may open and close inside a token, and are dropped; no token is ever empty.
// tokens is emptied first.
void splitCommandLine(const SPW_CString& commandLine, SPW_CArray<SPW_CString>& tokens);

// What the command line asks for. Options are compared without regard to case; a repeated one counts the last time,
// except -peer, which adds up.
struct CommandLine {
    enum Format { kTable, kJson };
    // What users of the platform expect of a command line.
    enum Style {
        // Words that mean nothing are ignored, since a program's shortcut may bear some of other programs. An option is
        // written in one way.
        kWindowsStyle,
        // A mistake is a mistake. Options may have two dashes, and "=" before their argument; -h and -V are short for
        // -help and -version; words without a dash are peers, and a peer may be a host's name.
        kUnixStyle,
    };

    // -getinfo FILE: write the configuration report to a file and end. Nothing else on the line counts then, however
    // unusable, but -reportwnd.
    bool getInfoRequested = false;
    SPW_CString reportFile;
    // -reportwnd HANDLE: the window to be told, a hexadecimal number; 0 when none or when it does not parse.
    std::uintptr_t reportWindow = 0;

    bool headless = false;
    bool help = false;
    bool version = false;
    // -duration and -interval, in milliseconds; 0 when not given.
    std::int64_t durationMs = 0;
    bool hasDuration = false;
    std::int64_t intervalMs = 0;
    bool hasInterval = false;
    // In kUnixStyle the address may be a host's name.
    SPW_CArray<PeerRecord> peers;
    Format format = kTable;
    int minimumQuality = 1;  // percent

    // Why the command line cannot be used, for the user to read; empty when it can. The other members then hold what
    // was understood before.
    SPW_CString error;

    // What was passed over though the user may have meant something by it, for him to read; empty when nothing was.
    SPW_CString ignored;

    bool isUsable() const { return error.isEmpty(); }
};

// Finds out what the tokens ask for. An option without its argument makes the line unusable, but for -getinfo and
// -reportwnd, which are ignored as the last token: other programs start this one by them, on every platform alike. A
// report is found out first, among tokens that mean nothing to it, since a program that asks for one may know of no
// other option: "-peer -getinfo FILE" asks for a report.
CommandLine scanArguments(const SPW_CArray<SPW_CString>& tokens, CommandLine::Style style);

// Lines for the standard output, each ending with a line feed, that explain the options.
SPW_CString usageText();
// The same for a window, whose letters differ in width, with the options that mean something to a window alone.
SPW_CString windowUsageText();

#pragma once

#include <cstdint>

#include "PeerTable.h"
#include "SPW_CArray.h"
#include "SPW_CString.h"

// Cuts a command line, without the program's path, into tokens at spaces. Nothing else separates, not even a tab.
// Double quotes keep spaces together and are dropped. They may open and close inside a token. No token is ever empty.
// tokens is emptied first.
void splitCommandLine(const SPW_CString& commandLine, SPW_CArray<SPW_CString>& tokens);

// What the command line asks for. Options are compared without regard to case. Of a repeated option the last one
// counts, except that every -peer adds a peer.
struct CommandLine {
    enum Format {
        kTable,
        kJson,
        kCsv,
        kEvents,  // one line per event, and a table when somebody asks for one
    };
    // What users of the platform expect of a command line.
    enum Style {
        // Words that mean nothing are ignored, because a program's shortcut may bear words that other programs want. An
        // option is written in one way.
        kWindowsStyle,
        // Words that mean nothing are mistakes. Options may have two dashes, and "=" before their argument. -h and -V
        // are short for -help and -version. Words without a dash are peers. A peer may be a host's name. The options
        // about events and silence exist in this style alone.
        kUnixStyle,
    };

    // -getinfo FILE: write the configuration report to a file and end. Then nothing else on the line counts but
    // -reportwnd, and nothing else makes the line unusable.
    bool getInfoRequested = false;
    SPW_CString reportFile;
    // -reportwnd HANDLE: the window to be told, a hexadecimal number. 0 if none is given or if it does not parse.
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
    // -allowsilent: the counts alone decide whether a peer is reachable.
    bool allowSilent = false;
    // -maxsilence, in milliseconds: how long a peer may be silent at a time.
    std::int64_t maximumSilenceMs = 0;
    bool hasMaximumSilence = false;
    // -events FILE: where events are appended; empty for nowhere.
    SPW_CString eventFile;
    // -onchange PROGRAM: what is run for each event; empty for none.
    SPW_CString changeProgram;
    // -alertafter, in milliseconds: how long a change must last before that program is run.
    std::int64_t alertAfterMs = 0;
    // -user NAME: who the program is to become before it opens anything; empty for no change. Windows has no such
    // change: there the option does nothing.
    SPW_CString user;

    // Why the command line cannot be used, for the user to read. Empty if it can be used. The other members hold what
    // was understood before the mistake.
    SPW_CString error;

    // Words that were ignored though the user may have meant something by them, in a text for the user to read. Empty
    // if there are none.
    SPW_CString ignored;

    bool isUsable() const { return error.isEmpty(); }
};

// Finds out what the tokens ask for. An option without its argument makes the line unusable. -getinfo and -reportwnd
// are the exceptions: as the last token they are ignored, because other programs start this one by them on every
// platform. A report is looked for first, because a program that asks for one may know no other option. "-peer -getinfo
// FILE" asks for a report.
CommandLine scanArguments(const SPW_CArray<SPW_CString>& tokens, CommandLine::Style style);

// Lines for the standard output, each ending with a line feed, that explain the options.
SPW_CString usageText();
// The same for a window, with only the options that mean something to a window. Letters in a window differ in width.
SPW_CString windowUsageText();

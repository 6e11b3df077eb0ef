#pragma once

#include "PeerTable.h"
#include "SPW_CError.h"

// What the user asks of the program behind the screen. Each call posts the request and returns. The Screen is told of
// the result later.
class ScreenCommands {
public:
    virtual ~ScreenCommands() = default;
    // Screen::testStarted follows.
    virtual void startTest() = 0;
    // Screen::testStopped follows.
    virtual void stopTest() = 0;
    virtual void resetStatistics() = 0;
    // Screen::tell follows.
    virtual void logReport() = 0;
    virtual void addPeer(const PeerRecord& peer) = 0;
    // The addresses that cannot be added once more. Returns at once. May be called only after Screen::ready.
    virtual void knownAddresses(SPW_CArray<SPW_CString>& addresses) const = 0;
    // Screen::showInfo follows.
    virtual void askForInfo() = 0;
    // What was pressed in the box of a message.
    virtual void answerMessage(int message, SPW_CMessageBox::Answer answer) = 0;
};

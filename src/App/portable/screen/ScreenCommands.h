#pragma once

#include "InsightEvent.h"
#include "PeerInsightValues.h"
#include "PeerTable.h"
#include "SPW_CArray.h"
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
    // All that is known of a row beyond its counts. False when the row is gone. Returns at once. May be called only
    // after Screen::ready, as the next one.
    [[nodiscard]] virtual bool insight(std::int32_t row, PeerInsightValues& values) const = 0;
    // See TestEngine::eventsAfter().
    virtual std::uint32_t eventsAfter(std::uint32_t after, SPW_CArray<InsightEvent>& events) const = 0;
    // Screen::showInfo follows.
    virtual void askForInfo() = 0;
    // What was pressed in the box of a message.
    virtual void answerMessage(int message, SPW_CMessageBox::Answer answer) = 0;
};

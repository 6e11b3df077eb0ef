#pragma once

#include <map>
#include <string>
#include <vector>

#include "ScreenCommands.h"

// Writes down what the user asked for.
class RecordingCommands final : public ScreenCommands {
public:
    void startTest() override { asked.emplace_back("start"); }
    void stopTest() override { asked.emplace_back("stop"); }
    void resetStatistics() override { asked.emplace_back("reset"); }
    void logReport() override { asked.emplace_back("log"); }
    void addPeer(const PeerRecord& peer) override {
        asked.push_back(std::string("add ") + peer.address.toAnsi() + "=" + peer.name.toAnsi());
    }
    void knownAddresses(SPW_CArray<SPW_CString>& addresses) const override {
        addresses.clear();
        for (const char16_t* address : known) {
            addresses.append(address);
        }
    }
    bool insight(std::int32_t row, PeerInsightValues& values) const override {
        const auto found = insights.find(row);
        if (found == insights.end()) {
            return false;
        }
        values = found->second;
        return true;
    }
    std::uint32_t eventsAfter(std::uint32_t after, SPW_CArray<InsightEvent>& found) const override {
        found.clear();
        for (const InsightEvent& event : events) {
            if (event.number > after) {
                found.append(event);
                after = event.number;
            }
        }
        return after;
    }
    void askForInfo() override { asked.emplace_back("info"); }
    void answerMessage(int message, SPW_CMessageBox::Answer answer) override {
        asked.push_back("answer " + std::to_string(message) + " " + std::to_string(answer));
    }

    std::vector<std::string> asked;
    std::vector<const char16_t*> known;
    std::map<std::int32_t, PeerInsightValues> insights;  // by row
    std::vector<InsightEvent> events;
};

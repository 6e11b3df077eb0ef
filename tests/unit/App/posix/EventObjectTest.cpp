#include "EventObject.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "JsonText.h"
#include "SPW_CClock.h"

namespace {

std::uint64_t noon(int second) {
    SPW_CalendarTime time;
    time.year = 2003;
    time.month = 7;
    time.day = 3;
    time.hour = 12;
    time.second = second;
    return SPW_CClock::fromUtc(time);
}

InsightEvent eventOf(InsightEvent::Type type) {
    InsightEvent event;
    event.number = 5;
    event.type = type;
    event.at.wall100ns = noon(1);
    event.noticed.wall100ns = noon(4);
    const char16_t address[] = u"10.0.0.7";
    std::copy(std::begin(address), std::end(address), event.address);
    event.name[0] = u'x';
    return event;
}

nlohmann::json objectOf(const InsightEvent& event) {
    EventOf of;
    of.testNumber = 2;
    of.observerAddress = u"10.0.0.1";
    of.observerName = u"desk";
    return nlohmann::json::parse(jsonLine(eventObject(event, of)));
}

TEST(EventObjectTest, EveryEventNamesItsTimesItsPeerAndItsObserver) {
    for (int type = InsightEvent::kKindChanged; type <= InsightEvent::kProbesNotMade; ++type) {
        const nlohmann::json object = objectOf(eventOf(static_cast<InsightEvent::Type>(type)));
        EXPECT_EQ(object["time"], "2003-07-03T12:00:01.000Z");
        EXPECT_EQ(object["noticed"], "2003-07-03T12:00:04.000Z");
        EXPECT_EQ(object["number"], 5);
        EXPECT_EQ(object["address"], "10.0.0.7");
        EXPECT_EQ(object["name"], "x");
        EXPECT_EQ(object["test"], 2);
        EXPECT_EQ(object["observer"], nlohmann::json::parse("{\"address\":\"10.0.0.1\",\"name\":\"desk\"}"));
        EXPECT_EQ(object["text"].get<std::string>().find("10.0.0.7 (x)"), 0u) << type;
    }
}

TEST(EventObjectTest, AChangeOfAKindNamesBothStates) {
    InsightEvent event = eventOf(InsightEvent::kKindChanged);
    event.protocol = kTcpip;
    event.kindBefore = KindState::kSilent;
    event.kindAfter = KindState::kOk;
    event.span100ns = 25000000;
    event.missed = 3;
    const nlohmann::json object = objectOf(event);
    EXPECT_EQ(object["event"], "kind_changed");
    EXPECT_EQ(object["kind"], "tcpip");
    EXPECT_EQ(object["old"], "silent");
    EXPECT_EQ(object["new"], "ok");
    EXPECT_EQ(object["seconds"], 2.5);
    EXPECT_EQ(object["missed"], 3);
}

TEST(EventObjectTest, AnOutageNamesItsKindsAndAtItsEndItsCost) {
    InsightEvent event = eventOf(InsightEvent::kOutageBegan);
    event.kinds = 1 << kPing | 1 << kUdp;
    EXPECT_EQ(objectOf(event)["kinds"], nlohmann::json::parse("[\"udp\",\"ping\"]"));
    EXPECT_FALSE(objectOf(event).contains("missed"));
    event.type = InsightEvent::kOutageEnded;
    event.missed = 9;
    EXPECT_EQ(objectOf(event)["missed"], 9);
}

TEST(EventObjectTest, HopsThatAreNotKnownAreNull) {
    InsightEvent event = eventOf(InsightEvent::kHopsChanged);
    event.hopsAfter = 2;
    const nlohmann::json object = objectOf(event);
    EXPECT_TRUE(object["old"].is_null());
    EXPECT_EQ(object["new"], 2);
}

TEST(EventObjectTest, TheWayOutNamesTheCodeOfItsFailure) {
    InsightEvent event = eventOf(InsightEvent::kOutChanged);
    event.protocol = kTcpip;
    event.outAfter = SendState::kTimedOut;
    event.code = 10060;
    const nlohmann::json object = objectOf(event);
    EXPECT_EQ(object["new"], "timed_out");
    EXPECT_EQ(object["code"], 10060);
    event.code = 0;
    EXPECT_TRUE(objectOf(event)["code"].is_null());
}

TEST(EventObjectTest, MissedEventsAreCounted) {
    const nlohmann::json object = nlohmann::json::parse(jsonLine(missedEventsObject(12, noon(2), EventOf())));
    EXPECT_EQ(object["event"], "events_missed");
    EXPECT_EQ(object["count"], 12);
    EXPECT_EQ(object["time"], "2003-07-03T12:00:02.000Z");
}

}  // namespace

#include "EngineFixture.h"
#include "ScriptedSystemInfo.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::StartsWith;

namespace {

class ReportTest : public EngineFixture {
protected:
    ReportTest() {
        m_system.os.platform = kOsWindowsCe;
        m_system.os.major = 3;
        m_system.os.build = 11171;
        m_network.network.domainName = "example.net";
        m_network.adapterList.resize(1);
        m_network.adapterList[0].name = "eth0";
        m_registry.setText(u"ControlPanel\\Owner", u"Owner", u"Ada");
        m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    }

    ScriptedSystemInfo m_system;
    ScopedInstance<SPW_CSystemInfo> m_systemInstalled{m_system};
};

TEST_F(ReportTest, AStartLogsItBetweenItsOwnLineAndTheFirstProbe) {
    select(false, true, false, false);
    engine().addPeer(peer(u"10.0.0.8", u"manually added"));
    engine().start();
    engine().stop();
    const std::vector<std::string> log = endAndReadWholeLog();
    const auto starting = std::find(log.begin(), log.end(), " ---- Test 1 starting ---");
    const auto last = std::find(starting, log.end(), kReportsLastLine);
    ASSERT_LT(std::distance(last, log.end()), std::distance(starting, log.end()));
    ASSERT_GT(std::distance(last, log.end()), 1);
    EXPECT_EQ(*(last + 1), "Created VTR_CUdpConnector to 10.0.0.8");

    const std::vector<std::string> report(starting + 1, last + 1);
    ASSERT_GE(report.size(), 8u);
    EXPECT_THAT(std::vector<std::string>(report.begin(), report.begin() + 8),
                ElementsAre("**System Settings**", "Microsoft Pocket PC version 3.0  Build 11171", "Owner: Ada",
                            "**End of System Settings**", "**IP Settings**", "   Local Host Name: device",
                            "   Local IP Address: 10.0.0.1", "**Other System IP Settings**"));
    std::vector<std::string> heads;
    std::copy_if(report.begin(), report.end(), std::back_inserter(heads),
                 [](const std::string& line) { return line.rfind("**", 0) == 0; });
    EXPECT_THAT(heads,
                ElementsAre("**System Settings**", "**End of System Settings**", "**IP Settings**",
                            "**Other System IP Settings**", "**End of Other System IP Settings**",
                            "**Adapter IP Settings**", "**End of Adapter IP Settings**", "**End of IP Settings**",
                            "**Application Settings**", "**End of Application Settings**",
                            "**Vantiro Registry Settings**", "**End of Vantiro Registry Settings**"));
    EXPECT_THAT(report, IsSupersetOf({"   Domain Name: example.net", "   Name: eth0"}));
}

TEST_F(ReportTest, EveryStartShowsWhatIsTrueThen) {
    select(false, false, false, false);
    engine().start();
    engine().stop();
    m_registry.setText(u"ControlPanel\\Owner", u"Owner", u"Grace");
    m_registry.setSetting(u"description", u"the second run");
    m_sockets.setHostName(u"renamed");
    m_sockets.setAddresses({SPW_CIpAddress(10, 0, 0, 2), SPW_CIpAddress(10, 1, 0, 2)});
    m_network.network.domainName = "example.org";
    engine().start();
    engine().stop();
    const std::vector<std::string> log = endAndReadWholeLog();
    EXPECT_EQ(std::count(log.begin(), log.end(), kReportsFirstLine), 2);
    const auto second = std::find(log.begin(), log.end(), " ---- Test 2 starting ---");
    const std::vector<std::string> before(log.begin(), second);
    const std::vector<std::string> after(second, log.end());
    EXPECT_THAT(before, IsSupersetOf({"Owner: Ada", "   Local Host Name: device", "   Domain Name: example.net"}));
    EXPECT_THAT(after, IsSupersetOf({"Owner: Grace", "   Local Host Name: renamed", "   Local IP Address: 10.0.0.2",
                                     "   Local IP Address: 10.1.0.2", "   Domain Name: example.org"}));
    EXPECT_THAT(before, Not(Contains(HasSubstr("the second run"))));
    EXPECT_THAT(after, Contains(HasSubstr("the second run")));
}

TEST_F(ReportTest, ItWaitsForTheLogAndLosesNoLine) {
    constexpr int kValues = 3 * static_cast<int>(TestLog::kQueuedLines);
    select(false, false, false, false);
    // All at once: a registry that is a file would write it anew for each value.
    std::string hive = "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\Other]\n";
    for (int i = 0; i < kValues; ++i) {
        hive += "\"value " + std::to_string(i) + "\"=\"x\"\n";
    }
    m_registry.add("HKEY_CURRENT_USER", hive);
    engine().start();
    const std::vector<std::string> log = endAndReadWholeLog();
    EXPECT_EQ(std::count_if(log.begin(), log.end(),
                            [](const std::string& line) { return line.find("value ") != std::string::npos; }),
              kValues);
}

TEST_F(ReportTest, InTheLogItIsFitToBeShown) {
    select(false, false, false, false);
    m_registry.setText(u"ControlPanel\\Owner", u"Owner", u"A\x1B[2Jda");
    engine().start();
    EXPECT_THAT(endAndReadWholeLog(), Contains("Owner: A?[2Jda"));
}

TEST_F(ReportTest, WithLoggingOffNobodyIsAskedAndTheRegistryNotTouched) {
    select(false, false, false, false);
    engine(false).start();
    EXPECT_EQ(m_network.networkScript.sizeQueries, 0);
    EXPECT_EQ(m_network.adapterScript.sizeQueries, 0);
    EXPECT_TRUE(m_registry.isEmpty("HKEY_LOCAL_MACHINE"));
    m_engine.reset();

    engine(true).start();
    EXPECT_GT(m_network.networkScript.sizeQueries, 0);
    EXPECT_FALSE(m_registry.isEmpty("HKEY_LOCAL_MACHINE")) << "the maker's key";
}

TEST_F(ReportTest, LocalInfoIsTheSystemAndIpSettings) {
    for (const bool loggingOn : {false, true}) {
        const std::string text = engine(loggingOn).localInfo().toAnsi();
        EXPECT_THAT(text, StartsWith("**System Settings**\r\nMicrosoft Pocket PC version 3.0  Build 11171\r\n"
                                     "Owner: Ada\r\n**End of System Settings**\r\n**IP Settings**\r\n"
                                     "   Local Host Name: device\r\n   Local IP Address: 10.0.0.1\r\n"
                                     "**Other System IP Settings**\r\n"));
        EXPECT_THAT(text, HasSubstr("\r\n   Domain Name: example.net\r\n"));
        EXPECT_THAT(text, testing::EndsWith("**End of Other System IP Settings**\r\n**End of IP Settings**\r\n"));
        EXPECT_THAT(endAndReadWholeLog(), IsEmpty()) << "asking for it logs nothing";
    }
}

TEST_F(ReportTest, LocalInfoNamesTheDeviceOfTheLatestStart) {
    select(false, false, false, false);
    engine();
    m_sockets.setHostName(u"renamed");
    m_network.network.domainName = "example.org";
    EXPECT_THAT(engine().localInfo().toAnsi(), HasSubstr("   Local Host Name: device\r\n"));
    EXPECT_THAT(engine().localInfo().toAnsi(), HasSubstr("   Domain Name: example.org\r\n")) << "asked for anew";
    engine().start();
    EXPECT_THAT(engine().localInfo().toAnsi(), HasSubstr("   Local Host Name: renamed\r\n"));
}

}  // namespace

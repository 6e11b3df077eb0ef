#include "EngineFixture.h"

namespace {

class EngineIdentityTest : public EngineFixture {};

TEST_F(EngineIdentityTest, TheTitleIsEveryAddressThenTheName) {
    m_sockets.setHostName(u"pocket1");
    EXPECT_EQ(engine().title(), SPW_CString(u"10.0.0.1  (pocket1)"));
}

TEST_F(EngineIdentityTest, AddressesThatSayNothingAreLeftOut) {
    m_sockets.setAddresses({SPW_CIpAddress(0, 0, 0, 0), SPW_CIpAddress(10, 0, 0, 5), SPW_CIpAddress(127, 0, 0, 1),
                            SPW_CIpAddress(192, 168, 55, 101), SPW_CIpAddress(127, 0, 1, 1),
                            SPW_CIpAddress(192, 168, 55, 102)});
    EXPECT_EQ(engine().title(), SPW_CString(u"10.0.0.5 127.0.1.1 192.168.55.102  (device)"));
}

TEST_F(EngineIdentityTest, WithoutAddressesTheTitleIsTheNameInParentheses) {
    m_sockets.setAddresses({SPW_CIpAddress(127, 0, 0, 1), SPW_CIpAddress(192, 168, 55, 101)});
    EXPECT_EQ(engine().title(), SPW_CString(u" (device)"));
}

TEST_F(EngineIdentityTest, AHostNameThatCannotBeHadLeavesTheTitleEmpty) {
    m_sockets.failNext(ScriptedSocket::kHostName, 11001);
    EXPECT_EQ(engine().title(), SPW_CString(u" ()"));
}

TEST_F(EngineIdentityTest, TheDisplayNameIsChosenByTheSetting) {
    m_registry.setText(u"ControlPanel\\Owner", u"Owner", u"Ada");
    m_registry.setText(u"Software\\Vantiro Networks\\Vantiro\\TLP", u"Friendly Name", u"cart 3");
    const struct {
        const char16_t* source;
        const char16_t* title;
    } cases[] = {{u"Host Name", u"10.0.0.1  (device)"},    {u"HOST NAME", u"10.0.0.1  (device)"},
                 {u"quillon name", u"10.0.0.1  (cart 3)"}, {u"Quillon Name", u"10.0.0.1  (cart 3)"},
                 {u"Login Name", u"10.0.0.1  (Ada)"},      {u"owner name", u"10.0.0.1  (Ada)"},
                 {u"something", u"10.0.0.1  (device)"},    {u"", u"10.0.0.1  (device)"}};
    for (const auto& c : cases) {
        m_registry.setSetting(u"display name", c.source);
        EXPECT_EQ(engine().title(), SPW_CString(c.title)) << SPW_CString(c.source).toAnsi();
        m_engine.reset();
    }
}

TEST_F(EngineIdentityTest, AMissingNameFallsBackToTheHostName) {
    for (const char16_t* source : {u"Quillon Name", u"Login Name", u"Owner Name"}) {
        m_registry.setSetting(u"display name", source);
        EXPECT_EQ(engine().title(), SPW_CString(u"10.0.0.1  (device)"));
        m_engine.reset();
    }
}

TEST_F(EngineIdentityTest, AStartLooksAgainWhoThisDeviceIs) {
    select(false, false, false, false);
    engine();
    m_sockets.setAddresses({SPW_CIpAddress(10, 0, 0, 99)});
    m_sockets.setHostName(u"renamed");
    engine().start();
    EXPECT_EQ(engine().title(), SPW_CString(u"10.0.0.99  (renamed)"));
}

TEST_F(EngineIdentityTest, AStartChoosesTheDisplayNameByTheSettingsOfThisStart) {
    m_registry.setText(u"ControlPanel\\Owner", u"Owner", u"Ada");
    select(false, false, false, false);
    EXPECT_EQ(engine().title(), SPW_CString(u"10.0.0.1  (device)"));
    m_registry.setSetting(u"display name", u"Owner Name");
    engine().start();
    EXPECT_EQ(engine().title(), SPW_CString(u"10.0.0.1  (Ada)"));
}

TEST_F(EngineIdentityTest, TheTitleIsShowable) {
    m_sockets.setHostName(u"po\x1B[2Jcket");
    EXPECT_EQ(engine().title(), SPW_CString(u"10.0.0.1  (po?[2Jcket)"));
}

}  // namespace

#include "TestEngine.h"

#include "EngineFixture.h"
#include "SettingsStorage.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

class TestEngineTest : public EngineFixture {};

TEST_F(TestEngineTest, ItBeginsStoppedWithTestNumberOne) {
    EXPECT_FALSE(engine().isRunning());
    EXPECT_EQ(engine().testNumber(), 1);
    EXPECT_THAT(labels(), IsEmpty());
}

TEST_F(TestEngineTest, BuildingItBeginsTheLogAfresh) {
    m_folder.write("log.txt", "an earlier run");
    EXPECT_THAT(problems(), IsEmpty());
    EXPECT_EQ(engine().logFilePath(), m_folder.path("log.txt"));
    EXPECT_EQ(engine().logEvent(u"a line", -1), 0u);
    EXPECT_THAT(endAndReadLog(), ElementsAre("a line"));
    EXPECT_THAT(m_folder.read("log.txt"), Not(HasSubstr("an earlier run")));
}

TEST_F(TestEngineTest, TheLogsHeaderNamesDescriptionProgramAndVersion) {
    m_registry.setSetting(u"description", u"the description");
    engine();
    m_engine.reset();
    Settings settings;
    loadSettings(settings, kNoMulticastPortOverride);
    const std::string text = m_folder.read("log.txt");
    EXPECT_THAT(text, HasSubstr("the description"));
    EXPECT_THAT(text, HasSubstr(settings.applicationPath.toAnsi()));
    EXPECT_THAT(text, HasSubstr(settings.version.toAnsi()));
}

TEST_F(TestEngineTest, WithLoggingOffNothingIsWrittenOrDeleted) {
    m_folder.write("log.txt", "an earlier run");
    engine(false).start();
    EXPECT_EQ(engine().logEvent(u"a line", 0), 0u);
    EXPECT_THAT(problems(), IsEmpty());
    engine().stop();
    m_engine.reset();
    EXPECT_EQ(m_folder.read("log.txt"), "an earlier run");
}

TEST_F(TestEngineTest, ALogThatCannotBeOpenedShowsAndTheTestRunsAllTheSame) {
    m_registry.setSetting(u"log filename", m_folder.path("missing/log.txt"));
    const std::string problem =
        std::string("cannot open the log file ") + m_folder.path("missing/log.txt").toAnsi() + ": Path not found";
    EXPECT_THAT(problems(), ElementsAre(problem));
    engine().start();
    EXPECT_TRUE(engine().isRunning());
    EXPECT_THAT(problems(), ElementsAre(problem));
    engine().stop();
}

TEST_F(TestEngineTest, ALogThatCouldNotBeOpenedIsTriedAgainByTheNameThatTheSettingsGiveThen) {
    m_registry.setSetting(u"log filename", m_folder.path("missing/log.txt"));
    engine().retryLog();
    EXPECT_THAT(problems(), Not(IsEmpty()));
    m_registry.setSetting(u"log filename", m_folder.path("log.txt"));
    engine().retryLog();
    EXPECT_THAT(problems(), IsEmpty());
    EXPECT_EQ(engine().logFilePath(), m_folder.path("log.txt"));
    EXPECT_EQ(engine().logEvent(u"a line", -1), 0u);
    EXPECT_THAT(endAndReadLog(), ElementsAre("a line"));
}

TEST_F(TestEngineTest, ALogThatIsOpenIsNotTriedAgain) {
    EXPECT_EQ(engine().logEvent(u"a line", -1), 0u);
    m_registry.setSetting(u"log filename", m_folder.path("another.txt"));
    engine().retryLog();
    EXPECT_EQ(engine().logFilePath(), m_folder.path("log.txt"));
    EXPECT_THAT(endAndReadLog(), ElementsAre("a line"));
}

TEST_F(TestEngineTest, ADeviceWithoutAnAddressIsTold) {
    select(false, true, true, true);
    m_sockets.setAddresses({});
    engine().start();
    EXPECT_THAT(problems(),
                ElementsAre("no network interface has an address by which other devices could reach this one"));
}

TEST_F(TestEngineTest, ItTakesAndGivesBackTheSocketLibrary) {
    engine();
    EXPECT_EQ(m_sockets.startups(), 1);
    engine().start();
    m_engine.reset();
    EXPECT_EQ(m_sockets.startups(), 0);
    EXPECT_EQ(m_sockets.openSockets(), 0);
}

}  // namespace

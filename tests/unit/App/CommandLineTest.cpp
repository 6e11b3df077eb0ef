#include "CommandLine.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "StringPrinting.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> split(const char16_t* commandLine) {
    SPW_CArray<SPW_CString> tokens;
    tokens.append(u"what was there before");
    splitCommandLine(commandLine, tokens);
    std::vector<std::string> result;
    for (int i = 0; i < tokens.numberOfElements(); ++i) {
        result.emplace_back(tokens[i].toAnsi());
    }
    return result;
}

CommandLine scan(const std::vector<const char16_t*>& arguments, CommandLine::Style style = CommandLine::kWindowsStyle) {
    SPW_CArray<SPW_CString> tokens;
    for (const char16_t* argument : arguments) {
        tokens.append(argument);
    }
    return scanArguments(tokens, style);
}

CommandLine scanUnix(const std::vector<const char16_t*>& arguments) {
    return scan(arguments, CommandLine::kUnixStyle);
}

CommandLine scanLine(const char16_t* commandLine) {
    SPW_CArray<SPW_CString> tokens;
    splitCommandLine(commandLine, tokens);
    return scanArguments(tokens, CommandLine::kWindowsStyle);
}

std::vector<std::string> peersOf(const CommandLine& line) {
    std::vector<std::string> result;
    for (int i = 0; i < line.peers.numberOfElements(); ++i) {
        result.emplace_back((line.peers[i].address + u" " + line.peers[i].name).toAnsi());
    }
    return result;
}

TEST(SplitCommandLineTest, SpacesSeparate) {
    EXPECT_THAT(split(u"-getinfo x.txt"), ElementsAre("-getinfo", "x.txt"));
    EXPECT_THAT(split(u"  a   b  "), ElementsAre("a", "b"));
    EXPECT_THAT(split(u""), IsEmpty());
    EXPECT_THAT(split(u"    "), IsEmpty());
}

TEST(SplitCommandLineTest, OnlySpacesSeparate) {
    EXPECT_THAT(split(u"a\tb\nc d"), ElementsAre("a\tb\nc", "d"));
}

TEST(SplitCommandLineTest, QuotesKeepSpacesAndAreDropped) {
    EXPECT_THAT(split(u"\"a b\" c"), ElementsAre("a b", "c"));
    EXPECT_THAT(split(u"\" a\""), ElementsAre(" a"));
}

TEST(SplitCommandLineTest, QuotesOpenAndCloseInsideAToken) {
    EXPECT_THAT(split(u"ab\"c d\"e"), ElementsAre("abc de"));
    EXPECT_THAT(split(u"\"a\"\"b\""), ElementsAre("ab"));
}

TEST(SplitCommandLineTest, AnEmptyPairOfQuotesIsNoToken) {
    EXPECT_THAT(split(u"a \"\" b"), ElementsAre("a", "b"));
    EXPECT_THAT(split(u"\"\""), IsEmpty());
}

TEST(SplitCommandLineTest, AnOpenQuoteRunsToTheEnd) {
    EXPECT_THAT(split(u"a \"b c "), ElementsAre("a", "b c "));
    EXPECT_THAT(split(u"a \""), ElementsAre("a"));
}

TEST(SplitCommandLineTest, ABackslashIsAnOrdinaryCharacter) {
    EXPECT_THAT(split(u"\"C:\\a b\\\" c"), ElementsAre("C:\\a b\\", "c"));
}

TEST(ArgumentScanTest, ReportFileAndWindow) {
    const CommandLine line = scanLine(u"-getinfo \"\\My Documents\\info file.txt\" -reportwnd 1a2b");
    EXPECT_TRUE(line.getInfoRequested);
    EXPECT_EQ(line.reportFile, SPW_CString(u"\\My Documents\\info file.txt"));
    EXPECT_EQ(line.reportWindow, 0x1A2Bu);
    EXPECT_TRUE(line.isUsable());
}

TEST(ArgumentScanTest, OptionsAreComparedWithoutRegardToCase) {
    const CommandLine line = scan({u"-GETINFO", u"x.txt", u"-HeadLess", u"-FORMAT", u"JSON"});
    EXPECT_TRUE(line.getInfoRequested);
    EXPECT_EQ(line.reportFile, SPW_CString(u"x.txt"));
    EXPECT_TRUE(line.headless);
    EXPECT_EQ(line.format, CommandLine::kJson);
}

TEST(ArgumentScanTest, GetInfoAndReportWindowAreIgnoredAsTheLastToken) {
    const CommandLine getInfo = scan({u"-getinfo"});
    EXPECT_FALSE(getInfo.getInfoRequested);
    EXPECT_TRUE(getInfo.isUsable());
    const CommandLine reportWindow = scan({u"-getinfo", u"a", u"-reportwnd"});
    EXPECT_TRUE(reportWindow.getInfoRequested);
    EXPECT_EQ(reportWindow.reportWindow, 0u);
    EXPECT_TRUE(reportWindow.isUsable());
}

TEST(ArgumentScanTest, ReportWindowAloneAsksForNoReport) {
    const CommandLine line = scan({u"-reportwnd", u"1a2b"});
    EXPECT_FALSE(line.getInfoRequested);
    EXPECT_EQ(line.reportWindow, 0x1A2Bu);
}

TEST(ArgumentScanTest, TheArgumentOfAnOptionIsNotAnOption) {
    const CommandLine line = scan({u"-getinfo", u"-reportwnd", u"12"});
    EXPECT_EQ(line.reportFile, SPW_CString(u"-reportwnd"));
    EXPECT_EQ(line.reportWindow, 0u);
}

TEST(ArgumentScanTest, AReportIsFoundOutAmongTokensThatMeanNothingToIt) {
    const CommandLine behindMistake = scan({u"-format", u"xml", u"-getinfo", u"a", u"-reportwnd", u"1f"});
    EXPECT_TRUE(behindMistake.getInfoRequested);
    EXPECT_EQ(behindMistake.reportFile, SPW_CString(u"a"));
    EXPECT_EQ(behindMistake.reportWindow, 0x1Fu);
    const CommandLine behindOption = scan({u"-peer", u"-getinfo", u"b"});
    EXPECT_TRUE(behindOption.getInfoRequested);
    EXPECT_EQ(behindOption.reportFile, SPW_CString(u"b"));
    const CommandLine asArgument = scan({u"-reportwnd", u"-getinfo", u"c"});
    EXPECT_FALSE(asArgument.getInfoRequested);
}

TEST(ArgumentScanTest, OfARepeatedOptionTheLastCounts) {
    const CommandLine line = scan({u"-getinfo", u"a", u"-getinfo", u"b", u"-duration", u"1", u"-duration", u"2",
                                   u"-format", u"json", u"-format", u"table"});
    EXPECT_EQ(line.reportFile, SPW_CString(u"b"));
    EXPECT_EQ(line.durationMs, 2000);
    EXPECT_EQ(line.format, CommandLine::kTable);
}

TEST(ArgumentScanTest, WindowHandlesAreHexadecimal) {
    const struct {
        const char16_t* text;
        std::uintptr_t handle;
    } cases[] = {{u"1a2b", 0x1A2B}, {u"1A2B", 0x1A2B}, {u"0x1f", 0x1F}, {u"0XFF", 0xFF},
                 {u"12zz", 0x12},   {u"zz", 0},        {u"", 0},        {u"0", 0},
                 {u"0x", 0},        {u" 7", 7},        {u"-", 0},       {u"FFFFFFFF", 0xFFFFFFFF},
                 {u"g1", 0}};
    for (const auto& c : cases) {
        EXPECT_EQ(scan({u"-reportwnd", c.text}).reportWindow, c.handle) << SPW_CString(c.text).toAnsi();
    }
}

TEST(ArgumentScanTest, WithoutArgumentsEverythingHasItsDefault) {
    const CommandLine line = scan({});
    EXPECT_TRUE(line.isUsable());
    EXPECT_FALSE(line.headless || line.help || line.version || line.hasDuration || line.hasInterval);
    EXPECT_EQ(line.format, CommandLine::kTable);
    EXPECT_EQ(line.minimumQuality, 1);
    EXPECT_EQ(line.peers.numberOfElements(), 0);
}

TEST(ArgumentScanTest, HelpAndVersionTakeOneDashOrTwo) {
    EXPECT_TRUE(scan({u"-help"}).help);
    EXPECT_TRUE(scan({u"--help"}).help);
    EXPECT_TRUE(scan({u"-version"}).version);
    EXPECT_TRUE(scan({u"--VERSION"}).version);
}

TEST(ArgumentScanTest, SecondsMayHaveADecimalFraction) {
    const struct {
        const char16_t* text;
        std::int64_t milliseconds;
    } cases[] = {{u"10", 10000},
                 {u"0.5", 500},
                 {u".25", 250},
                 {u"1.", 1000},
                 {u"0", 0},
                 {u"0.0001", 1},
                 {u"2.0010", 2001},
                 {u"2.0010000", 2001},
                 {u"007.5", 7500},
                 {u"0.0000000", 0},
                 {u"1000000000", 1000000000000}};
    for (const auto& c : cases) {
        const CommandLine line = scan({u"-duration", c.text});
        EXPECT_TRUE(line.isUsable()) << line.error.toAnsi();
        EXPECT_TRUE(line.hasDuration);
        EXPECT_EQ(line.durationMs, c.milliseconds) << SPW_CString(c.text).toAnsi();
    }
}

TEST(ArgumentScanTest, WhatIsNoNumberOfSecondsIsRefused) {
    for (const char16_t* text : {u"", u"-1", u"+1", u"abc", u"1x", u"1 ", u" 1", u"1,5", u"1e3", u"0x10", u"nan",
                                 u"inf", u".", u"1.2.3", u"1000000001", u"99999999999999999999999", u"-headless"}) {
        const CommandLine line = scan({u"-duration", text});
        EXPECT_EQ(line.error, SPW_CString(u"-duration: \"") + text + u"\" is not a number of seconds");
    }
    EXPECT_EQ(scan({u"-interval", u"x"}).error, SPW_CString(u"-interval: \"x\" is not a number of seconds"));
}

TEST(ArgumentScanTest, AnIntervalIsLongerThanNothing) {
    EXPECT_EQ(scan({u"-interval", u"0.2"}).intervalMs, 200);
    EXPECT_TRUE(scan({u"-interval", u"0.2"}).hasInterval);
    EXPECT_EQ(scan({u"-interval", u"0"}).error, SPW_CString(u"-interval: the interval must be longer than 0 seconds"));
}

TEST(ArgumentScanTest, AMissingArgumentIsAnError) {
    for (const char16_t* option : {u"-duration", u"-interval", u"-peer", u"-format", u"-minquality", u"-user"}) {
        const CommandLine line = scan({u"-headless", option});
        EXPECT_EQ(line.error, SPW_CString(option) + u": the argument is missing");
        EXPECT_FALSE(line.isUsable());
    }
}

TEST(ArgumentScanTest, FormatIsTableOrJson) {
    EXPECT_EQ(scan({u"-format", u"json"}).format, CommandLine::kJson);
    EXPECT_EQ(scan({u"-format", u"Table"}).format, CommandLine::kTable);
    EXPECT_EQ(scan({u"-format", u"xml"}).error, SPW_CString(u"-format: \"xml\" is neither table nor json"));
}

TEST(UnixArgumentScanTest, FormatIsTableJsonCsvOrEvents) {
    EXPECT_EQ(scanUnix({u"-format", u"csv"}).format, CommandLine::kCsv);
    EXPECT_EQ(scanUnix({u"-format", u"Events"}).format, CommandLine::kEvents);
    EXPECT_EQ(scanUnix({u"-format", u"xml"}).error,
              SPW_CString(u"-format: \"xml\" is none of table, json, csv and events"));
    EXPECT_EQ(scan({u"-format", u"csv"}).error, SPW_CString(u"-format: \"csv\" is neither table nor json"));
}

TEST(UnixArgumentScanTest, ASilenceMayBeAllowedWhollyOrForAWhile) {
    EXPECT_TRUE(scanUnix({u"-allowsilent"}).allowSilent);
    EXPECT_FALSE(scanUnix({u"-headless"}).allowSilent || scanUnix({u"-headless"}).hasMaximumSilence);
    const CommandLine line = scanUnix({u"-maxsilence", u"0"});
    EXPECT_TRUE(line.hasMaximumSilence);
    EXPECT_EQ(line.maximumSilenceMs, 0);
    EXPECT_EQ(scanUnix({u"--maxsilence=2.5"}).maximumSilenceMs, 2500);
    EXPECT_EQ(scanUnix({u"-maxsilence", u"x"}).error, SPW_CString(u"-maxsilence: \"x\" is not a number of seconds"));
}

TEST(UnixArgumentScanTest, EventsGoToAFileAndToAProgram) {
    const CommandLine line = scanUnix({u"-events", u"a file", u"-onchange", u"./told", u"-alertafter", u"30"});
    EXPECT_TRUE(line.isUsable());
    EXPECT_EQ(line.eventFile, SPW_CString(u"a file"));
    EXPECT_EQ(line.changeProgram, SPW_CString(u"./told"));
    EXPECT_EQ(line.alertAfterMs, 30000);
    EXPECT_EQ(scanUnix({u"-events="}).error, SPW_CString(u"-events: the name is empty"));
    EXPECT_EQ(scanUnix({u"-onchange"}).error, SPW_CString(u"-onchange: the argument is missing"));
}

TEST(ArgumentScanTest, OnWindowsTheOptionsAboutEventsAndSilenceAreIgnored) {
    const CommandLine line = scan({u"-events", u"file", u"-onchange", u"program", u"-alertafter", u"x", u"-maxsilence",
                                   u"y", u"-allowsilent", u"-headless"});
    EXPECT_TRUE(line.isUsable());
    EXPECT_TRUE(line.headless);
    EXPECT_TRUE(line.eventFile.isEmpty() && line.changeProgram.isEmpty());
    EXPECT_FALSE(line.allowSilent || line.hasMaximumSilence);
}

TEST(ArgumentScanTest, MinimumQualityIsAWholePercentage) {
    EXPECT_EQ(scan({u"-minquality", u"0"}).minimumQuality, 0);
    EXPECT_EQ(scan({u"-minquality", u"100"}).minimumQuality, 100);
    for (const char16_t* text : {u"", u"101", u"-1", u"+5", u"5%", u"1.5", u"x", u"4294967297"}) {
        EXPECT_EQ(scan({u"-minquality", text}).error,
                  SPW_CString(u"-minquality: \"") + text + u"\" is not a whole number from 0 to 100");
    }
}

TEST(ArgumentScanTest, AUserHasAName) {
    EXPECT_EQ(scan({u"-user", u"nobody"}).user, SPW_CString(u"nobody"));
    EXPECT_EQ(scanUnix({u"--user=first", u"-user", u"last"}).user, SPW_CString(u"last"));
    EXPECT_EQ(scanUnix({u"-user="}).error, SPW_CString(u"-user: the name is empty"));
    EXPECT_TRUE(scanUnix({u"-headless"}).user.isEmpty());
}

TEST(ArgumentScanTest, PeersAddUp) {
    const CommandLine line =
        scan({u"-peer", u"10.0.0.7=printer", u"-peer", u"10.0.0.8", u"-peer", u"10.0.0.7=printer"});
    ASSERT_EQ(line.peers.numberOfElements(), 3);
    EXPECT_EQ(line.peers[0].address, SPW_CString(u"10.0.0.7"));
    EXPECT_EQ(line.peers[0].name, SPW_CString(u"printer"));
    EXPECT_TRUE(line.peers[0].udp && line.peers[0].tcp && line.peers[0].ping);
    EXPECT_EQ(line.peers[1].address, SPW_CString(u"10.0.0.8"));
    EXPECT_EQ(line.peers[1].name, SPW_CString(u"manually added"));
}

TEST(ArgumentScanTest, APeersNameMayBeEmptyAndHoldTheSeparator) {
    const CommandLine line = scan({u"-peer", u"10.0.0.7=", u"-peer", u"10.0.0.8=a=b"});
    EXPECT_EQ(line.peers[0].name, SPW_CString(u""));
    EXPECT_EQ(line.peers[1].name, SPW_CString(u"a=b"));
}

TEST(ArgumentScanTest, APeersNameHasAtMostFifteenCharacters) {
    EXPECT_TRUE(scan({u"-peer", u"10.0.0.7=123456789012345"}).isUsable());
    EXPECT_EQ(scan({u"-peer", u"10.0.0.7=1234567890123456"}).error,
              SPW_CString(u"-peer: the name \"1234567890123456\" is longer than 15 characters"));
}

TEST(ArgumentScanTest, APeersAddressIsADottedQuad) {
    EXPECT_TRUE(scan({u"-peer", u"0.0.0.0"}).isUsable());
    EXPECT_TRUE(scan({u"-peer", u"255.255.255.255"}).isUsable());
    for (const char16_t* address : {u"", u"host", u"10.0.0", u"10.0.0.256", u"10.0.0.7.8", u"10.0.0.x", u" 10.0.0.7"}) {
        EXPECT_EQ(scan({u"-peer", address}).error,
                  SPW_CString(u"-peer: \"") + address + u"\" is not an IPv4 address such as 10.0.0.7");
    }
    EXPECT_EQ(scan({u"-peer", u"=name"}).error, SPW_CString(u"-peer: \"\" is not an IPv4 address such as 10.0.0.7"));
}

TEST(ArgumentScanTest, OnWindowsTokensThatMeanNothingAreIgnored) {
    const CommandLine line = scan({u"foo", u"-headless", u"-bar", u"--duration", u"-peer=10.0.0.7", u"-h", u""});
    EXPECT_TRUE(line.isUsable());
    EXPECT_TRUE(line.headless);
    EXPECT_FALSE(line.help || line.hasDuration);
    EXPECT_THAT(peersOf(line), IsEmpty());
}

TEST(ArgumentScanTest, TheErrorIsShowable) {
    EXPECT_EQ(scan({u"-format", u"\n"}).error, SPW_CString(u"-format: \"?\" is neither table nor json"));
    EXPECT_EQ(scanUnix({u"-a\x1B[2J"}).error, SPW_CString(u"-a?[2J: there is no such option"));
}

TEST(ArgumentScanTest, TheFirstErrorIsTheOneThatIsTold) {
    const CommandLine line = scan({u"-minquality", u"x", u"-format", u"y"});
    EXPECT_EQ(line.error, SPW_CString(u"-minquality: \"x\" is not a whole number from 0 to 100"));
}

TEST(UnixArgumentScanTest, EveryOptionMayHaveTwoDashes) {
    const CommandLine line =
        scanUnix({u"--headless", u"--Duration", u"60", u"--format", u"json", u"--peer", u"10.0.0.7", u"--interval",
                  u"2", u"--minquality", u"50", u"--help", u"--version"});
    EXPECT_TRUE(line.isUsable()) << line.error.toAnsi();
    EXPECT_TRUE(line.headless && line.help && line.version);
    EXPECT_EQ(line.durationMs, 60000);
    EXPECT_EQ(line.intervalMs, 2000);
    EXPECT_EQ(line.format, CommandLine::kJson);
    EXPECT_EQ(line.minimumQuality, 50);
    EXPECT_THAT(peersOf(line), ElementsAre("10.0.0.7 manually added"));
    const CommandLine report = scanUnix({u"--getinfo", u"a", u"--reportwnd", u"1f"});
    EXPECT_EQ(report.reportFile, SPW_CString(u"a"));
    EXPECT_EQ(report.reportWindow, 0x1Fu);
}

TEST(UnixArgumentScanTest, AnArgumentMayFollowAnEqualsSign) {
    const CommandLine line = scanUnix({u"--duration=60", u"-interval=0.5", u"--FORMAT=json", u"--peer=10.0.0.7=a=b"});
    EXPECT_TRUE(line.isUsable()) << line.error.toAnsi();
    EXPECT_EQ(line.durationMs, 60000);
    EXPECT_EQ(line.intervalMs, 500);
    EXPECT_EQ(line.format, CommandLine::kJson);
    EXPECT_THAT(peersOf(line), ElementsAre("10.0.0.7 a=b"));
    const CommandLine report = scanUnix({u"--getinfo=the=file", u"-reportwnd=1f"});
    EXPECT_TRUE(report.getInfoRequested);
    EXPECT_EQ(report.reportFile, SPW_CString(u"the=file"));
    EXPECT_EQ(report.reportWindow, 0x1Fu);
    EXPECT_EQ(scanUnix({u"--duration="}).error, SPW_CString(u"-duration: \"\" is not a number of seconds"));
    EXPECT_EQ(scanUnix({u"--headless=yes"}).error, SPW_CString(u"-headless: it takes no argument"));
}

TEST(UnixArgumentScanTest, HelpAndVersionHaveShortNames) {
    EXPECT_TRUE(scanUnix({u"-h"}).help);
    EXPECT_TRUE(scanUnix({u"-V"}).version);
}

TEST(UnixArgumentScanTest, AnUnknownOptionIsAnErrorWithTheOneThatWasMeant) {
    const struct {
        const char16_t* token;
        const char16_t* meant;
    } cases[] = {{u"-durations", u"-duration"},
                 {u"--duraton=5", u"-duration"},
                 {u"-heedless", u"-headless"},
                 {u"-Formt", u"-format"},
                 {u"-int", u"-interval"},
                 {u"--min", u"-minquality"},
                 {u"-verison", u"-version"},
                 {u"-peers", u"-peer"},
                 {u"--hel", u"-help"},
                 {u"-getinfos", u"-getinfo"},
                 {u"-usr", u"-user"}};
    for (const auto& c : cases) {
        const SPW_CString error = scanUnix({c.token}).error;
        EXPECT_GE(error.findText(u": there is no such option; did you mean "), 0) << error.toAnsi();
        EXPECT_GE(error.findText((SPW_CString(u" ") + c.meant + u"?").text()), 0) << error.toAnsi();
    }
}

TEST(UnixArgumentScanTest, WhatIsLikeNoOptionIsAnErrorWithoutASuggestion) {
    for (const char16_t* token : {u"-x", u"-", u"--frobnicate", u"-7", u"---", u"-wholly-different-and-very-long"}) {
        const SPW_CString error = scanUnix({u"-headless", token}).error;
        EXPECT_GE(error.findText(u": there is no such option"), 0) << error.toAnsi();
        EXPECT_LT(error.findText(u"did you mean"), 0) << error.toAnsi();
    }
}

TEST(UnixArgumentScanTest, AMissingArgumentIsAnErrorForEveryOptionThatTakesOne) {
    for (const char16_t* option : {u"-duration", u"-interval", u"-peer", u"-format", u"-minquality", u"-user"}) {
        EXPECT_EQ(scanUnix({u"-headless", option}).error, SPW_CString(option) + u": the argument is missing");
        EXPECT_EQ(scanUnix({(SPW_CString(u"-") + option).text()}).error,
                  SPW_CString(option) + u": the argument is missing");
    }
}

TEST(UnixArgumentScanTest, GetInfoAndReportWindowAreIgnoredAsTheLastToken) {
    for (const char16_t* option : {u"-getinfo", u"-reportwnd"}) {
        const CommandLine line = scanUnix({u"-headless", option});
        EXPECT_TRUE(line.isUsable()) << line.error.toAnsi();
        EXPECT_FALSE(line.getInfoRequested);
        EXPECT_TRUE(line.headless);
        EXPECT_EQ(line.ignored, SPW_CString(option) + u": the argument is missing; it is ignored");
    }
    EXPECT_TRUE(scanUnix({u"-headless"}).ignored.isEmpty());
}

TEST(UnixArgumentScanTest, WordsWithoutADashArePeers) {
    const CommandLine line = scanUnix({u"printer.local", u"-headless", u"10.0.0.7", u"10.0.0.8=scanner", u"--",
                                       u"gateway=the gateway", u"-peer", u"printer.local=printer"});
    EXPECT_TRUE(line.isUsable()) << line.error.toAnsi();
    EXPECT_THAT(peersOf(line), ElementsAre("printer.local printer.local", "10.0.0.7 manually added", "10.0.0.8 scanner",
                                           "gateway the gateway", "printer.local printer"));
}

TEST(UnixArgumentScanTest, AHostWithALongNameIsCalledByItsBeginning) {
    EXPECT_THAT(
        peersOf(scanUnix({u"printer.example.org", u"extraordinarily-long.example.org", u"abcdefghijklmnopqrst"})),
        ElementsAre("printer.example.org printer", "extraordinarily-long.example.org extraordinarily",
                    "abcdefghijklmnopqrst abcdefghijklmno"));
}

TEST(UnixArgumentScanTest, WhatCanBeNeitherAnAddressNorAHostIsAnError) {
    for (const char16_t* word :
         {u"", u"300.1.1.1", u"10.0.7", u"7", u"::1", u"a b", u"a/b", u"host.7", u".local", u"=x", u"h\u00F6st"}) {
        for (const CommandLine& line : {scanUnix({word}), scanUnix({u"-peer", word})}) {
            EXPECT_GE(line.error.findText(u"\" is not an IPv4 address such as 10.0.0.7, nor a host's name"), 0)
                << SPW_CString(word).toAnsi() << ": " << line.error.toAnsi();
        }
    }
}

TEST(UsageTest, EveryOptionIsExplained) {
    const SPW_CString usage = usageText();
    for (const char16_t* option : {u"-headless", u"-duration", u"-peer", u"-interval", u"-format", u"-minquality",
                                   u"-user", u"-help", u"-version", u"-getinfo", u"-reportwnd"}) {
        EXPECT_GE(usage.findText(option), 0) << SPW_CString(option).toAnsi();
    }
    EXPECT_EQ(usage.last(), u'\n');
}

TEST(UsageTest, AWindowExplainsWhatMeansSomethingToIt) {
    const SPW_CString usage = windowUsageText();
    for (const char16_t* option : {u"-duration", u"-peer", u"-help", u"-version", u"-getinfo", u"-reportwnd"}) {
        EXPECT_GE(usage.findText(option), 0) << SPW_CString(option).toAnsi();
    }
    for (const char16_t* option : {u"-headless", u"-interval", u"-format", u"-minquality", u"SIG"}) {
        EXPECT_LT(usage.findText(option), 0) << SPW_CString(option).toAnsi();
    }
}

}  // namespace

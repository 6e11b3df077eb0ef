#include "CommandLine.h"

#include "AddPeerForm.h"
#include "ForeignText.h"
#include "SPW_CIpAddress.h"

namespace {

constexpr char16_t kGetInfo[] = u"-getinfo";
constexpr char16_t kReportWindow[] = u"-reportwnd";

// The longest time that an option takes: some thirty years.
constexpr std::int64_t kMaximumSeconds = 1000000000;

bool isDigit(char16_t c) {
    return c >= u'0' && c <= u'9';
}

// Seconds, with a decimal fraction or without, as milliseconds; what is left of a millisecond counts as a whole one,
// so that only zero is zero. False for anything else, signs and exponents included.
bool parseSeconds(const SPW_CString& text, std::int64_t& milliseconds) {
    const char16_t* c = text.text();
    bool hasDigits = false;
    std::int64_t seconds = 0;
    for (; isDigit(*c); ++c) {
        hasDigits = true;
        seconds = seconds * 10 + (*c - u'0');
        if (seconds > kMaximumSeconds) {
            return false;
        }
    }
    std::int64_t fraction = 0;
    if (*c == u'.') {
        ++c;
        bool hasRemainder = false;
        for (int scale = 100; isDigit(*c); ++c, scale /= 10) {
            hasDigits = true;
            fraction += scale * (*c - u'0');
            hasRemainder = hasRemainder || (scale == 0 && *c != u'0');
        }
        fraction += hasRemainder ? 1 : 0;
    }
    milliseconds = seconds * 1000 + fraction;
    return hasDigits && *c == 0;
}

bool parsePercent(const SPW_CString& text, int& percent) {
    int value = 0;
    const char16_t* c = text.text();
    for (; isDigit(*c); ++c) {
        value = value * 10 + (*c - u'0');
        if (value > 100) {
            return false;
        }
    }
    percent = value;
    return !text.isEmpty() && *c == 0;
}

int hexDigit(char16_t c) {
    if (isDigit(c)) {
        return c - u'0';
    }
    const char16_t lower = static_cast<char16_t>(c | 0x20);
    return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10 : -1;
}

// A number as "%X" reads it: blanks before it, a prefix 0x and anything behind it do not matter. Of a longer number the
// low 32 bits count, which are all that a window handle has. Leaves value alone when there is no digit.
void parseHex(const SPW_CString& text, std::uintptr_t& value) {
    const char16_t* c = text.text();
    while (*c == u' ' || *c == u'\t') {
        ++c;
    }
    if (c[0] == u'0' && (c[1] == u'x' || c[1] == u'X') && hexDigit(c[2]) >= 0) {
        c += 2;
    }
    if (hexDigit(*c) < 0) {
        return;
    }
    std::uint32_t number = 0;
    for (; hexDigit(*c) >= 0; ++c) {
        number = number << 4 | static_cast<std::uint32_t>(hexDigit(*c));
    }
    value = number;
}

SPW_CString quoted(const SPW_CString& token) {
    return SPW_CString(u"\"") + showableText(token) + u"\"";
}

// Each takes an option's argument in and answers why it cannot be used, or an empty text.

SPW_CString takeSeconds(const SPW_CString& argument, std::int64_t& milliseconds) {
    return parseSeconds(argument, milliseconds) ? SPW_CString() : quoted(argument) + u" is not a number of seconds";
}

SPW_CString takeDuration(CommandLine& line, const SPW_CString& argument) {
    line.hasDuration = true;
    return takeSeconds(argument, line.durationMs);
}

SPW_CString takeInterval(CommandLine& line, const SPW_CString& argument) {
    line.hasInterval = true;
    const SPW_CString error = takeSeconds(argument, line.intervalMs);
    return error.isEmpty() && line.intervalMs == 0 ? SPW_CString(u"the interval must be longer than 0 seconds") : error;
}

SPW_CString takeFormat(CommandLine& line, const SPW_CString& argument) {
    if (argument.compareNoCase(u"table") == 0) {
        line.format = CommandLine::kTable;
    } else if (argument.compareNoCase(u"json") == 0) {
        line.format = CommandLine::kJson;
    } else {
        return quoted(argument) + u" is neither table nor json";
    }
    return SPW_CString();
}

SPW_CString takeMinimumQuality(CommandLine& line, const SPW_CString& argument) {
    return parsePercent(argument, line.minimumQuality) ? SPW_CString()
                                                       : quoted(argument) + u" is not a whole number from 0 to 100";
}

SPW_CString takePeer(CommandLine& line, const SPW_CString& argument) {
    const int equals = argument.find(u'=');
    const SPW_CString addressText = equals < 0 ? argument : argument.left(equals);
    SPW_CIpAddress address;
    if (!SPW_CIpAddress::parse(addressText, address)) {
        return quoted(addressText) + u" is not an IPv4 address such as 10.0.0.7";
    }
    PeerRecord peer;
    peer.address = address.toText();
    peer.name = equals < 0 ? SPW_CString(kAddedPeerName) : argument.right(argument.length() - equals - 1);
    if (peer.name.length() > kPeerNameLimit) {
        return SPW_CString(u"the name ") + quoted(peer.name) + u" is longer than " + kPeerNameLimit + u" characters";
    }
    line.peers.append(peer);
    return SPW_CString();
}

struct OptionWithArgument {
    const char16_t* name;
    SPW_CString (*take)(CommandLine& line, const SPW_CString& argument);
};

constexpr OptionWithArgument kOptionsWithArgument[] = {
    {u"-duration", takeDuration},         {u"-interval", takeInterval}, {u"-format", takeFormat},
    {u"-minquality", takeMinimumQuality}, {u"-peer", takePeer},
};

struct Switch {
    const char16_t* name;
    bool CommandLine::*flag;
};

constexpr Switch kSwitches[] = {
    {u"-headless", &CommandLine::headless}, {u"-help", &CommandLine::help},        {u"--help", &CommandLine::help},
    {u"-version", &CommandLine::version},   {u"--version", &CommandLine::version},
};

bool scanSwitch(const SPW_CString& token, CommandLine& line) {
    for (const Switch& known : kSwitches) {
        if (token.compareNoCase(known.name) == 0) {
            line.*known.flag = true;
            return true;
        }
    }
    return false;
}

const OptionWithArgument* findOptionWithArgument(const SPW_CString& token) {
    for (const OptionWithArgument& known : kOptionsWithArgument) {
        if (token.compareNoCase(known.name) == 0) {
            return &known;
        }
    }
    return nullptr;
}

bool isReportOption(const SPW_CArray<SPW_CString>& tokens, int index) {
    const SPW_CString& token = tokens[index];
    return index + 1 < tokens.numberOfElements() &&
           (token.compareNoCase(kGetInfo) == 0 || token.compareNoCase(kReportWindow) == 0);
}

void scanReportOptions(const SPW_CArray<SPW_CString>& tokens, CommandLine& line) {
    for (int i = 0; i < tokens.numberOfElements(); ++i) {
        if (!isReportOption(tokens, i)) {
            continue;
        }
        if (tokens[i].compareNoCase(kGetInfo) == 0) {
            line.getInfoRequested = true;
            line.reportFile = tokens[i + 1];
        } else {
            parseHex(tokens[i + 1], line.reportWindow);
        }
        ++i;
    }
}

// Takes in the option at index and answers how many tokens it used; 0 when it could not be used (line.error says why).
int scanOption(const SPW_CArray<SPW_CString>& tokens, int index, CommandLine& line) {
    const SPW_CString& token = tokens[index];
    const bool isLast = index + 1 == tokens.numberOfElements();
    if (isReportOption(tokens, index)) {
        return 2;
    }
    if (scanSwitch(token, line)) {
        return 1;
    }
    const OptionWithArgument* option = findOptionWithArgument(token);
    if (option == nullptr) {
        line.unknown.append(token);
        return 1;
    }
    const SPW_CString error = isLast ? SPW_CString(u"the argument is missing") : option->take(line, tokens[index + 1]);
    if (!error.isEmpty()) {
        line.error = SPW_CString(option->name) + u": " + error;
        return 0;
    }
    return 2;
}

}  // namespace

void splitCommandLine(const SPW_CString& commandLine, SPW_CArray<SPW_CString>& tokens) {
    tokens.empty();
    SPW_CString token;
    bool inQuotes = false;
    for (int i = 0; i < commandLine.length(); ++i) {
        const char16_t c = commandLine.text()[i];
        if (c == u'"') {
            inQuotes = !inQuotes;
        } else if (c == u' ' && !inQuotes) {
            if (!token.isEmpty()) {
                tokens.append(token);
            }
            token.clear();
        } else {
            token.append(c);
        }
    }
    if (!token.isEmpty()) {
        tokens.append(token);
    }
}

CommandLine scanArguments(const SPW_CArray<SPW_CString>& tokens) {
    CommandLine line;
    scanReportOptions(tokens, line);
    for (int i = 0; i < tokens.numberOfElements();) {
        const int used = scanOption(tokens, i, line);
        if (used == 0) {
            break;
        }
        i += used;
    }
    return line;
}

SPW_CString CommandLine::unknownText() const {
    if (unknown.numberOfElements() == 0) {
        return SPW_CString();
    }
    SPW_CString text(u"ignored:");
    for (int i = 0; i < unknown.numberOfElements(); ++i) {
        text += u" ";
        text += showableText(unknown[i]);
    }
    return text;
}

SPW_CString usageText() {
    return u"Linkometry measures which devices on the network can be reached by TCP, UDP, multicast and ping.\n"
           u"\n"
           u"usage: linkometry [options]\n"
           u"  -headless             start a test at once, without a screen; SIGINT or SIGTERM ends it\n"
           u"  -duration SECONDS     end the test after that time\n"
           u"  -peer ADDRESS[=NAME]  probe that device too; may be repeated\n"
           u"  -interval SECONDS     print all rows that often\n"
           u"  -format table|json    how rows are printed (default table)\n"
           u"  -minquality PERCENT   the lowest quality that counts as reachable (default 1)\n"
           u"  -getinfo FILE         write this device's configuration report to a file, silently, and end\n"
           u"  -reportwnd HANDLE     with -getinfo: the window to be told, in hexadecimal (Windows)\n"
           u"  -help, -version       print and end\n"
           u"\n"
           u"On a terminal it shows a screen, whose keys are explained there by ?. Without one, a headless test is "
           u"run.\n"
           u"Exit status of a headless test: 0 every device reached, 1 some device not reached, 2 no device found,\n"
           u"3 command line not usable, 4 test could not run. With -getinfo: 0 written, 1 not written.\n"
           u"SIGUSR1 prints all rows and writes them to the log, SIGUSR2 sets all counts to zero, SIGHUP starts over\n"
           u"with the settings as they are now.\n";
}

SPW_CString windowUsageText() {
    return u"Linkometry measures which devices on the network can be reached by TCP, UDP, multicast and ping.\n"
           u"\n"
           u"-duration SECONDS : end a test after that time\n"
           u"-peer ADDRESS[=NAME] : probe that device too; may be repeated\n"
           u"-getinfo FILE : write this device's configuration report to a file, silently, and end\n"
           u"-reportwnd HANDLE : with -getinfo, the window to be told, in hexadecimal\n"
           u"-help, -version : show and end\n"
           u"\n"
           u"Exit status: 0, or 3 when the command line is not usable. With -getinfo: 0 written, 1 not written.\n";
}

#include "CommandLine.h"

#include <algorithm>

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

// Reads seconds, with a decimal fraction or without, as milliseconds. A part of a millisecond counts as a whole one,
// and only zero gives zero. Returns false for anything else, also for signs and exponents.
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

// Reads a number as "%X" does: blanks before it, a prefix 0x and anything behind it do not matter. Of a longer number
// the low 32 bits count, because a window handle has no more. Leaves value alone if there is no digit.
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

// Each of these takes in an option's argument. It returns why the argument cannot be used, or an empty text.

SPW_CString takeSeconds(const SPW_CString& argument, std::int64_t& milliseconds) {
    return parseSeconds(argument, milliseconds) ? SPW_CString() : quoted(argument) + u" is not a number of seconds";
}

SPW_CString takeDuration(CommandLine& line, const SPW_CString& argument, CommandLine::Style) {
    line.hasDuration = true;
    return takeSeconds(argument, line.durationMs);
}

SPW_CString takeInterval(CommandLine& line, const SPW_CString& argument, CommandLine::Style) {
    line.hasInterval = true;
    const SPW_CString error = takeSeconds(argument, line.intervalMs);
    return error.isEmpty() && line.intervalMs == 0 ? SPW_CString(u"the interval must be longer than 0 seconds") : error;
}

struct NamedFormat {
    const char16_t* name;
    CommandLine::Format format;
    bool isUnixOnly;
};

SPW_CString takeFormat(CommandLine& line, const SPW_CString& argument, CommandLine::Style style) {
    static constexpr NamedFormat kFormats[] = {
        {u"table", CommandLine::kTable, false},
        {u"json", CommandLine::kJson, false},
        {u"csv", CommandLine::kCsv, true},
        {u"events", CommandLine::kEvents, true},
    };
    const bool isUnix = style == CommandLine::kUnixStyle;
    for (const NamedFormat& each : kFormats) {
        if (argument.compareNoCase(each.name) == 0 && (isUnix || !each.isUnixOnly)) {
            line.format = each.format;
            return SPW_CString();
        }
    }
    return quoted(argument) + (isUnix ? u" is none of table, json, csv and events" : u" is neither table nor json");
}

SPW_CString takeMaximumSilence(CommandLine& line, const SPW_CString& argument, CommandLine::Style) {
    line.hasMaximumSilence = true;
    return takeSeconds(argument, line.maximumSilenceMs);
}

SPW_CString takeAlertAfter(CommandLine& line, const SPW_CString& argument, CommandLine::Style) {
    return takeSeconds(argument, line.alertAfterMs);
}

SPW_CString takeText(const SPW_CString& argument, SPW_CString& text) {
    text = argument;
    return argument.isEmpty() ? SPW_CString(u"the name is empty") : SPW_CString();
}

SPW_CString takeEventFile(CommandLine& line, const SPW_CString& argument, CommandLine::Style) {
    return takeText(argument, line.eventFile);
}

SPW_CString takeChangeProgram(CommandLine& line, const SPW_CString& argument, CommandLine::Style) {
    return takeText(argument, line.changeProgram);
}

SPW_CString takeMinimumQuality(CommandLine& line, const SPW_CString& argument, CommandLine::Style) {
    return parsePercent(argument, line.minimumQuality) ? SPW_CString()
                                                       : quoted(argument) + u" is not a whole number from 0 to 100";
}

bool isLetter(char16_t c) {
    const char16_t lower = static_cast<char16_t>(c | 0x20);
    return lower >= u'a' && lower <= u'z';
}

// Whether the text can be a host's name at all. Nobody asks here whether there is such a host. A text that ends in a
// number is a mistyped address: the resolver would take "10.0.7" for 10.0.0.7.
bool isHostName(const SPW_CString& text) {
    constexpr int kLongestName = 253;
    for (int i = 0; i < text.length(); ++i) {
        const char16_t c = text.at(i);
        if (!isLetter(c) && !isDigit(c) && c != u'.' && c != u'-' && c != u'_') {
            return false;
        }
    }
    const SPW_CString last = text.right(text.length() - 1 - text.findLast(u'.'));
    const bool endsInNumber = !last.isEmpty() && last.leadingRun(u"0123456789") == last.length();
    return !text.isEmpty() && text.length() <= kLongestName && text.first() != u'.' && !endsInNumber;
}

// The peer's name is what the user calls the host, cut where there is no room for all of it.
SPW_CString nameOfHost(const SPW_CString& host) {
    const int dot = host.find(u'.');
    const bool isWhole = host.length() <= kPeerNameLimit || dot <= 0;
    return (isWhole ? host : host.left(dot)).left(kPeerNameLimit);
}

// ADDRESS[=NAME]. In kUnixStyle the address may be a host's name.
SPW_CString takePeer(CommandLine& line, const SPW_CString& argument, CommandLine::Style style) {
    const int equals = argument.find(u'=');
    PeerRecord peer;
    peer.address = equals < 0 ? argument : argument.left(equals);
    peer.name = kAddedPeerName;
    SPW_CIpAddress address;
    if (SPW_CIpAddress::parse(peer.address, address)) {
        peer.address = address.toText();
    } else if (style == CommandLine::kUnixStyle && isHostName(peer.address)) {
        peer.name = nameOfHost(peer.address);
    } else {
        return quoted(peer.address) + u" is not an IPv4 address such as 10.0.0.7" +
               (style == CommandLine::kUnixStyle ? u", nor a host's name" : u"");
    }
    if (equals >= 0) {
        peer.name = argument.right(argument.length() - equals - 1);
    }
    if (peer.name.length() > kPeerNameLimit) {
        return SPW_CString(u"the name ") + quoted(peer.name) + u" is longer than " + kPeerNameLimit + u" characters";
    }
    line.peers.append(peer);
    return SPW_CString();
}

SPW_CString takeUser(CommandLine& line, const SPW_CString& argument, CommandLine::Style) {
    return takeText(argument, line.user);
}

struct Option {
    const char16_t* name;
    // One of the two is set. An option with neither belongs to the report, which is looked for first.
    bool CommandLine::*flag;
    SPW_CString (*take)(CommandLine& line, const SPW_CString& argument, CommandLine::Style style);
    bool isUnixOnly = false;

    bool isOfReport() const { return flag == nullptr && take == nullptr; }
};

constexpr Option kOptions[] = {
    {u"-headless", &CommandLine::headless, nullptr},
    {u"-duration", nullptr, takeDuration},
    {u"-peer", nullptr, takePeer},
    {u"-interval", nullptr, takeInterval},
    {u"-format", nullptr, takeFormat},
    {u"-minquality", nullptr, takeMinimumQuality},
    {u"-allowsilent", &CommandLine::allowSilent, nullptr, true},
    {u"-maxsilence", nullptr, takeMaximumSilence, true},
    {u"-events", nullptr, takeEventFile, true},
    {u"-onchange", nullptr, takeChangeProgram, true},
    {u"-alertafter", nullptr, takeAlertAfter, true},
    {u"-user", nullptr, takeUser},
    {kGetInfo, nullptr, nullptr},
    {kReportWindow, nullptr, nullptr},
    {u"-help", &CommandLine::help, nullptr},
    {u"-version", &CommandLine::version, nullptr},
};

const Option* findOption(const SPW_CString& name, CommandLine::Style style) {
    for (const Option& known : kOptions) {
        const bool exists = style == CommandLine::kUnixStyle || !known.isUnixOnly;
        if (exists && name.compareNoCase(known.name) == 0) {
            return &known;
        }
    }
    return nullptr;
}

// One token, taken apart.
struct Word {
    SPW_CString name;      // with one dash
    SPW_CString argument;  // what follows "="
    bool hasArgument = false;
};

// kWindowsStyle knows two dashes only with these two options, and no "=".
Word wordOf(const SPW_CString& token, CommandLine::Style style) {
    Word word;
    word.name = token;
    if (style == CommandLine::kWindowsStyle) {
        if (token.compareNoCase(u"--help") == 0 || token.compareNoCase(u"--version") == 0) {
            word.name.removeLeft(1);
        }
        return word;
    }
    const int equals = token.find(u'=');
    if (equals >= 0) {
        word.name = token.left(equals);
        word.argument = token.right(token.length() - equals - 1);
        word.hasArgument = true;
    }
    if (word.name.length() > 2 && word.name.at(0) == u'-' && word.name.at(1) == u'-') {
        word.name.removeLeft(1);
    }
    if (word.name.compareNoCase(u"-h") == 0) {
        word.name = u"-help";
    } else if (word.name.compareNoCase(u"-v") == 0) {
        word.name = u"-version";
    }
    return word;
}

// How many letters must be changed, added or left out to make one of the other. Letters are compared without regard to
// case. Long texts count as wholly different.
int distance(const SPW_CString& one, const char16_t* other) {
    constexpr int kLongest = 16;
    const SPW_CString second(other);
    if (one.length() > kLongest || second.length() > kLongest) {
        return kLongest;
    }
    int row[kLongest + 1] = {};
    for (int j = 0; j <= second.length(); ++j) {
        row[j] = j;
    }
    for (int i = 1; i <= one.length(); ++i) {
        int diagonal = row[0];
        row[0] = i;
        for (int j = 1; j <= second.length(); ++j) {
            const bool isSame = (one.at(i - 1) | 0x20) == (second.at(j - 1) | 0x20);
            const int changed = diagonal + (isSame ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({changed, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row[second.length()];
}

// Returns ", did you mean -duration?", or nothing if no option is like the name. An option that begins with the name
// goes first.
SPW_CString suggestionFor(const SPW_CString& name) {
    constexpr int kMostChanges = 2;
    constexpr int kFewestLetters = 3;
    const char16_t* nearest = nullptr;
    int least = kMostChanges + 1;
    for (const Option& known : kOptions) {
        const bool isBeginning =
            name.length() >= kFewestLetters && SPW_CString(known.name).compareNoCase(name.text(), name.length()) == 0;
        const int changes = isBeginning ? 0 : distance(name, known.name);
        if (changes < least) {
            nearest = known.name;
            least = changes;
        }
    }
    return nearest == nullptr ? SPW_CString() : SPW_CString(u"; did you mean ") + nearest + u"?";
}

typedef SPW_CArray<SPW_CString> Tokens;

// Returns how many tokens the report's option at index takes. Returns 0 if there is none or its argument is missing.
int reportLength(const Tokens& tokens, int index, CommandLine::Style style) {
    const Word word = wordOf(tokens[index], style);
    const Option* option = findOption(word.name, style);
    if (option == nullptr || !option->isOfReport()) {
        return 0;
    }
    if (word.hasArgument) {
        return 1;
    }
    return index + 1 < tokens.numberOfElements() ? 2 : 0;
}

void takeReportOption(const Tokens& tokens, int index, CommandLine::Style style, CommandLine& line) {
    const Word word = wordOf(tokens[index], style);
    const SPW_CString& argument = word.hasArgument ? word.argument : tokens[index + 1];
    if (word.name.compareNoCase(kGetInfo) == 0) {
        line.getInfoRequested = true;
        line.reportFile = argument;
    } else {
        parseHex(argument, line.reportWindow);
    }
}

void scanReportOptions(const Tokens& tokens, CommandLine::Style style, CommandLine& line) {
    for (int i = 0; i < tokens.numberOfElements();) {
        const int used = reportLength(tokens, i, style);
        if (used > 0) {
            takeReportOption(tokens, i, style, line);
        }
        i += std::max(used, 1);
    }
}

// Takes in the option of the word at index and answers how many tokens it used.
int takeOption(const Tokens& tokens, int index, const Option& option, const Word& word, CommandLine::Style style,
               CommandLine& line, SPW_CString& error) {
    if (option.flag != nullptr) {
        line.*option.flag = true;
        error = word.hasArgument ? u"it takes no argument" : u"";
        return 1;
    }
    if (word.hasArgument) {
        error = option.take(line, word.argument, style);
        return 1;
    }
    if (index + 1 == tokens.numberOfElements()) {
        error = u"the argument is missing";
        return 1;
    }
    error = option.take(line, tokens[index + 1], style);
    return 2;
}

// Takes in the token at index with what belongs to it, and returns how many tokens these are. Returns 0 if the line
// cannot be used; line.error says why.
int scanToken(const Tokens& tokens, int index, CommandLine::Style style, CommandLine& line) {
    int used = reportLength(tokens, index, style);
    if (used > 0) {
        return used;
    }
    const SPW_CString& token = tokens[index];
    const Word word = wordOf(token, style);
    const Option* option = findOption(word.name, style);
    const bool isUnix = style == CommandLine::kUnixStyle;
    if (option != nullptr && option->isOfReport()) {
        used = 1;
        line.ignored = SPW_CString(option->name) + u": the argument is missing; it is ignored";
    } else if (option != nullptr) {
        SPW_CString error;
        used = takeOption(tokens, index, *option, word, style, line, error);
        line.error = error.isEmpty() ? error : SPW_CString(option->name) + u": " + error;
    } else {
        used = 1;
        if (isUnix && token.compare(u"--") != 0) {
            const bool isPeer = token.isEmpty() || token.first() != u'-';
            line.error = isPeer ? takePeer(line, token, style)
                                : showableText(word.name) + u": there is no such option" + suggestionFor(word.name);
        }
    }
    return line.isUsable() ? used : 0;
}

}  // namespace

void splitCommandLine(const SPW_CString& commandLine, SPW_CArray<SPW_CString>& tokens) {
    tokens.clear();
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

CommandLine scanArguments(const SPW_CArray<SPW_CString>& tokens, CommandLine::Style style) {
    CommandLine line;
    scanReportOptions(tokens, style, line);
    for (int i = 0; i < tokens.numberOfElements();) {
        const int used = scanToken(tokens, i, style, line);
        if (used == 0) {
            break;
        }
        i += used;
    }
    return line;
}

SPW_CString usageText() {
    return u"Linkometry measures which devices on the network can be reached by TCP, UDP, multicast and ping.\n"
           u"\n"
           u"usage: linkometry [options] [peers]\n"
           u"A peer is an address or a host's name, or either with =NAME behind it.\n"
           u"  -headless             start a test at once, without a screen; SIGINT or SIGTERM ends it\n"
           u"  -duration SECONDS     end the test after that time\n"
           u"  -peer ADDRESS[=NAME]  probe that device too, as with the address alone; may be repeated\n"
           u"  -interval SECONDS     print all rows that often\n"
           u"  -format FORMAT        how rows are printed: table (default), json or csv; or events, as they happen\n"
           u"  -minquality PERCENT   the lowest quality that counts as reachable (default 1)\n"
           u"  -allowsilent          let the quality alone decide; else a device that is silent at the end is not "
           u"reached\n"
           u"  -maxsilence SECONDS   the longest time that a device may be silent and count as reached\n"
           u"  -events FILE          append every change of a device's state to that file, as JSON\n"
           u"  -onchange PROGRAM     run that program at every such change\n"
           u"  -alertafter SECONDS   with -onchange: only when the change has lasted that long\n"
           u"  -user NAME            become that user before anything is opened (Linux, started as root)\n"
           u"  -getinfo FILE         write this device's configuration report to a file, silently, and end\n"
           u"  -reportwnd HANDLE     with -getinfo: the window to be told, in hexadecimal (Windows)\n"
           u"  -help, -version       print and end\n"
           u"Options may have two dashes, and = before what they take. -h is -help, -V is -version.\n"
           u"\n"
           u"On a terminal it shows a screen, whose keys are explained there by ?. Without one, a headless test is "
           u"run.\n"
           u"Exit status of a headless test: 0 every device reached, 1 some device not reached or silent, 2 no device "
           u"found,\n"
           u"3 command line not usable, 4 test could not run, 254 no memory left; 1 also when output was lost. With\n"
           u"-getinfo: 0 written, 1 not written.\n"
           u"A second SIGINT or SIGTERM ends the program at once. SIGQUIT prints all rows, SIGUSR1 also writes them "
           u"to\n"
           u"the log, SIGUSR2 sets all counts to zero, SIGHUP starts over with the settings as they are now, unless "
           u"the\n"
           u"program has a terminal: then it ends the test.\n";
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

#include "SettingsReport.h"

#include "ReportFields.h"

namespace {

void printNamedPeers(ReportLines& lines, const Settings& settings) {
    for (int i = 0; i < settings.namedPeerAddresses.numberOfElements(); ++i) {
        printText(lines, u"   Named Ip Address: ",
                  settings.namedPeerAddresses[i] + u" (" + settings.namedPeerNames[i] + u")");
    }
}

}  // namespace

// The version, then the settings in the alphabetical order of their labels.
void printSettings(ReportLines& lines, const Settings& settings) {
    lines.line(u"**Application Settings**");
    printText(lines, u"   ", settings.version);
    printFlag(lines, u"   Anyone In Reach selected: ", settings.includeAnyoneInReach);
    printText(lines, u"   Application Name: ", settings.applicationPath);
    printText(lines, u"   Description: ", settings.description);
    printText(lines, u"   Display Name: ", settings.displayNameSource);  // the choice, not the name that it leads to
    printNumber(lines, u"   Frequency Qty: ", settings.frequencyQty);
    printText(lines, u"   Frequency Units: ",
              SPW_CString(static_cast<unsigned long>(settings.frequencyUnitMs)) + u" milliseconds");
    printFlag(lines, u"   Log Data Packets: ", settings.logDataPackets);
    printFlag(lines, u"   Log Events: ", settings.logEvents);
    printText(lines, u"   Logfile Name: ", settings.logFileName);
    printText(lines, u"   Multicast Group: ", settings.multicastGroup);
    printNumber(lines, u"   Multicast Port: ", settings.multicastPort);
    printFlag(lines, u"   Multicast Selected: ", settings.multicastSelected);
    printNumber(lines, u"   Multicast Ttl: ", settings.multicastTtl);
    printNamedPeers(lines, settings);
    printFlag(lines, u"   Named Ip Address Selected: ", settings.includeNamedIpAddresses);
    printNumber(lines, u"   Overhead Packet Size: ", settings.overheadBytes);
    printFlag(lines, u"   Ping Selected: ", settings.pingSelected);
    printNumber(lines, u"   Port: ", settings.port);
    printFlag(lines, u"   Tcpip Selected: ", settings.tcpipSelected);
    printFlag(lines, u"   Udp Selected: ", settings.udpSelected);
    lines.line(u"**End of Application Settings**");
}

#include "NetworkReport.h"

#include "AdapterWalker.h"
#include "NetworkParams.h"
#include "ReportFields.h"

namespace {

void printFailure(ReportLines& lines, SPW_Result status, const char16_t* notSupported, const char16_t* failed) {
    if (status == kNotOnThisSystem) {
        lines.line(notSupported);
    } else {
        lines.line(SPW_CString(failed) + static_cast<unsigned long>(status));
    }
}

// Deliberately not the same words in the two forms.
void printNetworkFailure(ReportLines& lines, SPW_Result status, ReportForm form) {
    if (form == ReportForm::kTestLog) {
        printFailure(lines, status, u"   OTHER SYSTEM IP SETTINGS NOT SUPPORTED ON THIS OS",
                     u"   FAILED to get any other system ip info ErrorCode: ");
    } else {
        printFailure(lines, status, u"   OTHER IP SETTINGS NOT SUPPORTED ON THIS OS",
                     u"   FAILED to get any system IP info ErrorCode: ");
    }
}

// In the alphabetical order of the labels. The host name has a line of its own elsewhere.
void print(ReportLines& lines, const NetworkParams& params) {
    printField(lines, u"   Acting As Proxy: ", params.actingAsProxy);
    printField(lines, u"   Current DNS: ", params.currentDns);
    printField(lines, u"   DHCP Scope Name: ", params.dhcpScopeName);
    printField(lines, u"   DNS Enabled: ", params.dnsEnabled, u" Not Set");  // two blanks in all, deliberately
    printField(lines, u"   DNS Server List: ", params.dnsServerList);
    printField(lines, u"   Domain Name: ", params.domainName);
    printField(lines, u"   Routing Enabled: ", params.routingEnabled);
    printField(lines, u"   Using Dhcp: ", params.usingDhcp);
}

// Deliberately one line for each primary server, with the secondary server of the same index. Without a primary server
// no secondary server is shown. An absent list always has its line "Not Set".
void printSecondaryWins(ReportLines& lines, const AdapterInfo& adapter) {
    constexpr char16_t kLabel[] = u"   Secondary Wins: ";
    AddressList secondary;
    if (adapter.secondaryWinsList.get(secondary) != 0) {
        printText(lines, kLabel, u"Not Set");
        return;
    }
    AddressList primary;
    (void)adapter.primaryWinsList.get(primary);  // absent is as good as empty
    for (int i = 0; i < primary.numberOfElements(); ++i) {
        printAddress(lines, kLabel, i < secondary.numberOfElements() ? secondary[i] : AddressEntry());
    }
}

void print(ReportLines& lines, const AdapterInfo& adapter) {
    printField(lines, u"   Name: ", adapter.name);
    printField(lines, u"   Description: ", adapter.description);
    printField(lines, u"   Default Gateway: ", adapter.gatewayList);
    printField(lines, u"   DHCP Enabled: ", adapter.dhcpEnabled);
    printField(lines, u"   DHCP Server: ", adapter.dhcpServerList);
    printField(lines, u"   IP Address: ", adapter.ipAddressList);
    printField(lines, u"   Lease Expires: ", adapter.leaseExpires);
    printField(lines, u"   Lease Obtained: ", adapter.leaseObtained);
    printField(lines, u"   Mac Address: ", adapter.macAddress);
    printField(lines, u"   Uses Wins: ", adapter.usesWins);
    printField(lines, u"   Primary Wins: ", adapter.primaryWinsList);
    printSecondaryWins(lines, adapter);
    printField(lines, u"   Type: ", adapter.type);
}

void printAllAdapters(ReportLines& lines) {
    AdapterWalker walker;
    AdapterInfo adapter;
    const SPW_Result status = walker.begin(adapter);
    if (status != 0) {
        printFailure(lines, status, u"   ADAPTER IP SETTINGS NOT SUPPORTED ON THIS OS",
                     u"   FAILED to get any adapter ip info ErrorCode: ");
        return;
    }
    print(lines, adapter);
    while (walker.next(adapter) == 0) {
        lines.line(u" ");
        print(lines, adapter);
    }
}

}  // namespace

void printNetworkParams(ReportLines& lines, ReportForm form) {
    lines.line(u"**Other System IP Settings**");
    NetworkParams params;
    const SPW_Result status = readNetworkParams(params);
    if (status == 0) {
        print(lines, params);
    } else {
        printNetworkFailure(lines, status, form);
    }
    lines.line(u"**End of Other System IP Settings**");
}

void printAdapters(ReportLines& lines) {
    lines.line(u"**Adapter IP Settings**");
    printAllAdapters(lines);
    lines.line(u"**End of Adapter IP Settings**");
}

#include "SystemReport.h"

#include <vector>

#include "ForeignText.h"
#include "NetworkReport.h"
#include "OperatingSystemText.h"
#include "RegistryDump.h"
#include "ReportFields.h"
#include "SettingsReport.h"

namespace {

// One text of lines that end with CR LF on every platform. The lines are collected first: a string grows in small
// steps, and a long report would be copied at every second line.
class LinesOfText : public ReportLines {
public:
    void line(const SPW_CString& text) override {
        const SPW_CString shown = showableText(text) + u"\r\n";
        m_units.insert(m_units.end(), shown.text(), shown.text() + shown.length());
    }
    // Called once, behind the last line.
    SPW_CString takeText() {
        m_units.push_back(u'\0');
        return SPW_CString(m_units.data());
    }

private:
    std::vector<char16_t> m_units;
};

// The lines that both forms have. The caller closes the block about IP settings.
void printDevice(ReportLines& lines, const DeviceIdentity& device, ReportForm form) {
    lines.line(u"**System Settings**");
    lines.line(operatingSystemText());
    printText(lines, u"Owner: ", device.ownerName);
    lines.line(u"**End of System Settings**");
    lines.line(u"**IP Settings**");
    printText(lines, u"   Local Host Name: ", device.hostName);
    for (int i = 0; i < device.localAddresses.numberOfElements(); ++i) {
        printText(lines, u"   Local IP Address: ", device.localAddresses[i]);
    }
    printNetworkParams(lines, form);
}

void endIpSettings(ReportLines& lines) {
    lines.line(u"**End of IP Settings**");
}

}  // namespace

SPW_CString localInfoText(const DeviceIdentity& device) {
    LinesOfText lines;
    printDevice(lines, device, ReportForm::kLocalInfo);
    endIpSettings(lines);
    return lines.takeText();
}

void reportSystem(ReportLines& lines, const DeviceIdentity& device, const Settings& settings) {
    printDevice(lines, device, ReportForm::kTestLog);
    printAdapters(lines);
    endIpSettings(lines);
    printSettings(lines, settings);
    printRegistry(lines);
}

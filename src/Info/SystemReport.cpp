#include "SystemReport.h"

#include "ForeignText.h"
#include "NetworkReport.h"
#include "OperatingSystemText.h"
#include "RegistryDump.h"
#include "ReportFields.h"
#include "SettingsReport.h"

namespace {

// One text of lines that end with CR LF, whatever the platform's own line end is.
class LinesOfText : public ReportLines {
public:
    void line(const SPW_CString& text) override {
        m_text += showableText(text);
        m_text += u"\r\n";
    }
    const SPW_CString& text() const { return m_text; }

private:
    SPW_CString m_text;
};

// What both forms have; the end of the block about IP settings is left open.
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
    return lines.text();
}

void reportSystem(ReportLines& lines, const DeviceIdentity& device, const Settings& settings) {
    printDevice(lines, device, ReportForm::kTestLog);
    printAdapters(lines);
    endIpSettings(lines);
    printSettings(lines, settings);
    printRegistry(lines);
}

#include "SettingsReport.h"

#include <string_view>

#include "ReportFields.h"

namespace {

struct SettingOrder {
    const Setting* rows[std::size(kSettings)];
};

// The settings in the order of their lines.
constexpr SettingOrder sortedByLabel() {
    SettingOrder order{};
    for (std::size_t i = 0; i < std::size(kSettings); ++i) {
        std::size_t place = i;
        for (; place > 0 && std::u16string_view(kSettings[i].label) < order.rows[place - 1]->label; --place) {
            order.rows[place] = order.rows[place - 1];
        }
        order.rows[place] = &kSettings[i];
    }
    return order;
}

// The version has no label; its value stands alone.
SPW_CString lineStart(const Setting& setting) {
    const SPW_CString indent(u"   ");
    return setting.label[0] == u'\0' ? indent : indent + setting.label + u": ";
}

void printNamedPeers(ReportLines& lines, const SPW_CString& start, const Settings& settings) {
    for (int i = 0; i < settings.namedPeerAddresses.numberOfElements(); ++i) {
        lines.line(start + settings.namedPeerAddresses[i] + u" (" + settings.namedPeerNames[i] + u")");
    }
}

void printSetting(ReportLines& lines, const Setting& setting, const Settings& settings) {
    const SettingField& field = setting.field;
    const SPW_CString start = lineStart(setting);
    switch (field.type) {
        case SettingType::kText:
        case SettingType::kAddress:
            printText(lines, start.text(), settings.*field.text);
            break;
        case SettingType::kNumber:
            printNumber(lines, start.text(), settings.*field.number);
            break;
        case SettingType::kFlag:
            printFlag(lines, start.text(), settings.*field.flag ? 1 : 0);
            break;
        case SettingType::kFrequencyUnit:
            lines.line(start + static_cast<unsigned long>(settings.*field.milliseconds) + u" milliseconds");
            break;
        case SettingType::kNamedPeers:
            printNamedPeers(lines, start, settings);
            break;
    }
}

}  // namespace

void printSettings(ReportLines& lines, const Settings& settings) {
    static constexpr SettingOrder kByLabel = sortedByLabel();
    lines.line(u"**Application Settings**");
    for (const Setting* setting : kByLabel.rows) {
        printSetting(lines, *setting, settings);
    }
    lines.line(u"**End of Application Settings**");
}

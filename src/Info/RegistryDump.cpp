#include "RegistryDump.h"

#include <cstdint>

#include "SPW_CArray.h"
#include "SPW_CRegistry.h"
#include "SPW_CString.h"

namespace {

constexpr char16_t kMakersKey[] = u"Software\\Vantiro Networks";

// The registry allows no deeper key. Only a link that leads round in a circle reaches this limit.
constexpr int kDeepestKey = 512;

// Writes a key with all that is below it: first its values, then for each subkey its full path and its content. A line
// is indented by its key's depth below the first key.
//
// The tree can be as deep as the registry allows and the thread's stack is small. An array keeps the way down instead
// of nested calls. It holds only what is needed to go on.
class RegistryDump {
public:
    RegistryDump(ReportLines& lines, const SPW_CString& hive, const SPW_CString& path)
        : m_lines(lines), m_hive(hive), m_path(path) {}

    void run() {
        enterKey();
        while (m_levels.numberOfElements() > 0) {
            visitNextSubKey();
        }
    }

private:
    // A key on the way down.
    struct Level {
        int pathLength = 0;
        std::uint32_t nextSubKey = 0;
        std::uint32_t subKeys = 0;  // as many as there were when the key was entered
    };

    void enterKey() {
        SPW_CRegistry key(m_hive, m_path);
        printValues(key);
        Level level;
        level.pathLength = m_path.length();
        (void)key.getNumberOfSubKeys(level.subKeys);  // none where they cannot be counted
        m_levels.append(level);
    }

    void visitNextSubKey() {
        const int depth = m_levels.numberOfElements() - 1;
        Level& level = m_levels[depth];
        m_path.truncate(level.pathLength);
        if (level.nextSubKey == level.subKeys) {
            m_levels.removeElementAt(depth);
            return;
        }
        SPW_CString name;
        if (SPW_CRegistry(m_hive, m_path, SPW_CRegistry::kOnlyIfPresent).enumKey(level.nextSubKey++, name) != 0) {
            return;
        }
        m_path += u'\\';
        m_path += name;
        m_lines.line(indent(depth) + m_hive + u"\\" + m_path);
        if (depth < kDeepestKey) {
            enterKey();
        }
    }

    void printValues(SPW_CRegistry& key) const {
        std::uint32_t count = 0;
        (void)key.getNumberOfValues(count);  // none where they cannot be counted
        for (std::uint32_t i = 0; i < count; ++i) {
            SPW_CString name;
            SPW_CRegistryData data;
            if (key.enumValue(i, name, data) == 0) {
                printValue(name, data);
            }
        }
    }

    void printValue(const SPW_CString& name, const SPW_CRegistryData& data) const {
        const SPW_CString blanks = indent(m_levels.numberOfElements());
        SPW_CString text;
        if (data.type() == SPW_CRegistryData::kString && data.getString(text) == 0) {
            m_lines.line(blanks + name + u" = " + text);
        } else {
            m_lines.line(blanks + u"type of " + name + u" not suported");  // misspelt deliberately
        }
    }

    static SPW_CString indent(int depth) {
        SPW_CString blanks;
        blanks.fill(u' ', depth);
        return blanks;
    }

    ReportLines& m_lines;
    const SPW_CString m_hive;
    SPW_CString m_path;  // of the key that was entered last, or of its parent when that is done
    SPW_CArray<Level> m_levels;
};

void printHive(ReportLines& lines, const char16_t* hive) {
    lines.line(SPW_CString(u"recursivly logging ") + hive + u"\\" + kMakersKey);  // misspelt deliberately
    RegistryDump(lines, hive, kMakersKey).run();
}

}  // namespace

void printRegistry(ReportLines& lines) {
    lines.line(u"**Vantiro Registry Settings**");
    printHive(lines, u"HKEY_CURRENT_USER");
    printHive(lines, u"HKEY_LOCAL_MACHINE");
    lines.line(u"**End of Vantiro Registry Settings**");
}

#include "ErrorLines.h"

#include <algorithm>

#include "TextHash.h"

static const std::uint64_t kSecond100ns = 10000000;

static SPW_CString withCount(const SPW_CString& line, std::int32_t count) {
    if (count == 1) {
        return line;
    }
    SPW_CString text(line);
    text += u" (";
    text += count;
    text += u" times)";
    return text;
}

bool ErrorLines::admit(SPW_CString& line, std::int32_t limit, std::uint64_t now100ns) {
    if (limit <= 0) {
        return true;
    }
    const int index = rowOf(line, now100ns);
    if (index < 0) {
        ++m_others;
        return false;
    }
    Row& row = m_rows[index];
    if (row.counted == 0 && now100ns - row.lastSeen100ns >= kSecond100ns) {
        row.told = 0;
    }
    row.lastSeen100ns = now100ns;
    const bool mayPass = row.told < limit || now100ns - row.lastTold100ns >= kSecond100ns;
    if (!mayPass || !spend(now100ns)) {
        ++row.counted;
        return false;
    }
    row.told = std::min(row.told + 1, limit);
    row.lastTold100ns = now100ns;
    line = withCount(line, row.counted + 1);
    row.counted = 0;
    return true;
}

void ErrorLines::takeDue(std::uint64_t now100ns, SPW_CArray<SPW_CString>& lines) {
    for (int i = 0; i < m_rows.numberOfElements(); ++i) {
        Row& row = m_rows[i];
        if (row.counted > 0 && now100ns - row.lastTold100ns >= kSecond100ns && spend(now100ns)) {
            lines.append(withCount(row.line, row.counted));
            row.lastTold100ns = now100ns;
            row.counted = 0;
        }
    }
    takeOthers(lines);
}

void ErrorLines::takeAll(SPW_CArray<SPW_CString>& lines) {
    for (int i = 0; i < m_rows.numberOfElements(); ++i) {
        if (m_rows[i].counted > 0) {
            lines.append(withCount(m_rows[i].line, m_rows[i].counted));
        }
    }
    takeOthers(lines);
    clear();
}

void ErrorLines::clear() {
    m_rows.clear();
    m_others = 0;
    m_paid100ns = 0;
}

// The index of the line's row, which is made if need be; -1 when there is no room for it.
int ErrorLines::rowOf(const SPW_CString& line, std::uint64_t now100ns) {
    const std::uint32_t hash = textHash(line);
    for (int i = 0; i < m_rows.numberOfElements(); ++i) {
        if (m_rows[i].hash == hash && m_rows[i].line == line) {
            return i;
        }
    }
    removeEnded(now100ns);
    if (m_rows.numberOfElements() == kMostDifferent) {
        return -1;
    }
    Row row;
    row.line = line;
    row.hash = hash;
    m_rows.append(row);
    return m_rows.numberOfElements() - 1;
}

void ErrorLines::removeEnded(std::uint64_t now100ns) {
    for (int i = m_rows.numberOfElements() - 1; i >= 0; --i) {
        if (m_rows[i].counted == 0 && now100ns - m_rows[i].lastSeen100ns >= kSecond100ns) {
            m_rows.removeElementAt(i);
        }
    }
}

void ErrorLines::takeOthers(SPW_CArray<SPW_CString>& lines) {
    if (m_others > 0) {
        SPW_CString text(u"SOCKET ERROR: ");
        text += m_others;
        text += u" more of many kinds";
        lines.append(text);
        m_others = 0;
    }
}

// Every line costs the time in which the budget earns it. False when the budget is empty.
bool ErrorLines::spend(std::uint64_t now100ns) {
    constexpr std::uint64_t kCost100ns = kSecond100ns / kEverySecond;
    m_paid100ns = std::max(m_paid100ns, now100ns);
    if (m_paid100ns - now100ns > (kBurst - 1) * kCost100ns) {
        return false;
    }
    m_paid100ns += kCost100ns;
    return true;
}

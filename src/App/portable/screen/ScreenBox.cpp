#include "ScreenBox.h"

#include <algorithm>

#include "DisplayWidth.h"

namespace {

constexpr int kBetweenButtons = 3;

SPW_CString bracketed(const SPW_CString& caption) {
    return SPW_CString(u"[ ") + caption + u" ]";
}

}  // namespace

Area ScreenBox::centred(const Canvas& canvas, int width, int height) {
    width = std::min(width, canvas.width());
    height = std::min(height, canvas.height());
    return {(canvas.width() - width) / 2, (canvas.height() - height) / 2, width, height};
}

Area ScreenBox::inside(const Area& frame) {
    return {frame.x + 2, frame.y + 1, std::max(frame.width - 4, 0), std::max(frame.height - 2, 0)};
}

int BoxButtons::width() const {
    int width = (count() - 1) * kBetweenButtons;
    for (const SPW_CString& caption : m_captions) {
        width += displayWidth(bracketed(caption));
    }
    return width;
}

void BoxButtons::draw(Canvas& canvas, const Area& line, int focus) {
    m_places.clear();
    int x = line.x + std::max(line.width - width(), 0) / 2;
    for (int i = 0; i < count(); ++i) {
        const SPW_CString text = bracketed(m_captions[static_cast<std::size_t>(i)]);
        const int end = canvas.put(x, line.y, text, Style(Look::kBox, i == focus));
        m_places.push_back({x, line.y, end - x, 1});
        x = end + kBetweenButtons;
    }
}

int BoxButtons::buttonAt(int x, int y) const {
    for (std::size_t i = 0; i < m_places.size(); ++i) {
        if (m_places[i].contains(x, y)) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

#include "ButtonBar.h"

#include <iterator>

#include "DisplayWidth.h"

namespace {

struct Button {
    const char16_t* caption;
    int hotkey;  // its index in the caption
};

constexpr Button kButtons[kScreenButtons] = {
    {u"Start", 0}, {u"Stop", 1}, {u"Reset", 0}, {u"Log", 0}, {u"Add Ip", 0}, {u"Info", 0}, {u"Quit", 0},
};

struct Spacing {
    int inside;  // columns at either side of the caption
    int between;
};

// From the widest to the narrowest.
constexpr Spacing kSpacings[] = {{2, 1}, {1, 1}, {0, 1}};

int widthWith(const Spacing& spacing) {
    int width = (kScreenButtons - 1) * spacing.between;
    for (const Button& button : kButtons) {
        width += displayWidth(button.caption) + 2 * spacing.inside;
    }
    return width;
}

const Spacing& spacingFor(int width) {
    const Spacing* spacing = kSpacings;
    while (spacing != std::end(kSpacings) - 1 && widthWith(*spacing) > width) {
        ++spacing;
    }
    return *spacing;
}

char32_t lower(char32_t c) {
    return c >= U'A' && c <= U'Z' ? c + 32 : c;
}

}  // namespace

const char16_t* buttonCaption(int button) {
    return kButtons[button].caption;
}

void ButtonBar::draw(Canvas& canvas, int y, const bool (&isUsable)[kScreenButtons]) {
    const Spacing& spacing = spacingFor(canvas.width());
    int x = 0;
    for (int i = 0; i < kScreenButtons; ++i) {
        const SPW_CString caption(kButtons[i].caption);
        const Style style = isUsable[i] ? Look::kButton : Look::kDimmed;
        m_places[i] = {x, y, displayWidth(caption) + 2 * spacing.inside, 1};
        const int start = x + spacing.inside;
        canvas.put(start, y, caption, style);
        if (isUsable[i]) {
            canvas.put(start + kButtons[i].hotkey, y, caption.mid(kButtons[i].hotkey, 1), Look::kHotkey);
            if (spacing.inside > 0) {
                canvas.put(x, y, u"[", style);
                canvas.put(x + m_places[i].width - 1, y, u"]", style);
            }
        }
        x += m_places[i].width + spacing.between;
    }
}

int ButtonBar::buttonAt(int x, int y) const {
    for (int i = 0; i < kScreenButtons; ++i) {
        if (m_places[i].contains(x, y)) {
            return i;
        }
    }
    return kNoButton;
}

int ButtonBar::buttonOfLetter(char32_t letter) {
    for (int i = 0; i < kScreenButtons; ++i) {
        const char16_t hotkey = kButtons[i].caption[kButtons[i].hotkey];
        if (lower(hotkey) == lower(letter)) {
            return i;
        }
    }
    return kNoButton;
}

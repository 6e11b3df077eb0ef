#pragma once

#include "Canvas.h"

enum ScreenButton : int {
    kStartButton,
    kStopButton,
    kResetButton,
    kLogButton,
    kAddIpButton,
    kInfoButton,
    kQuitButton,
    kScreenButtons,
    kNoButton = -1,
};

// button: 0 to kScreenButtons - 1.
const char16_t* buttonCaption(int button);

// The line of buttons. One that cannot be used is dimmed and has no brackets. Each has a letter that presses it, which
// is underlined. On narrow screens the buttons move together, and lose their brackets at last.
class ButtonBar {
public:
    // isUsable: by button.
    void draw(Canvas& canvas, int y, const bool (&isUsable)[kScreenButtons]);
    // Which button stands there, as of the latest drawing, or kNoButton.
    int buttonAt(int x, int y) const;
    // Behind the last button.
    int end() const { return m_places[kScreenButtons - 1].x + m_places[kScreenButtons - 1].width; }

    // Which button that letter presses, in either case, or kNoButton.
    static int buttonOfLetter(char32_t letter);

private:
    Area m_places[kScreenButtons];
};

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

// The line of buttons. A button that cannot be used is dimmed and has no brackets. Each button has a letter that
// presses it; the letter is underlined. On narrow screens the buttons move together, and at last they lose their
// brackets.
class ButtonBar {
public:
    // isUsable: by button.
    void draw(Canvas& canvas, int y, const bool (&isUsable)[kScreenButtons]);
    // Returns which button the latest drawing has put there, or kNoButton.
    int buttonAt(int x, int y) const;
    // Behind the last button.
    int end() const { return m_places[kScreenButtons - 1].x + m_places[kScreenButtons - 1].width; }

    // Returns which button the letter presses, or kNoButton. Case does not matter.
    static int buttonOfLetter(char32_t letter);

private:
    Area m_places[kScreenButtons];
};

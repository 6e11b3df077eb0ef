#pragma once

// One thing that the user did, as the terminal reports it.
struct Input {
    enum Kind { kKey, kText, kClick, kWheelUp, kWheelDown };
    enum Key {
        kNoKey,
        kUp,
        kDown,
        kLeft,
        kRight,
        kPageUp,
        kPageDown,
        kHome,
        kEnd,
        kEnter,
        kEscape,
        kTab,
        kBackTab,
        kBackspace,
        kDelete,
        kRedraw,  // Ctrl-L
    };

    Kind kind = kKey;
    Key key = kNoKey;        // of kKey
    char32_t character = 0;  // of kText: one that can be shown
    int x = 0;               // of the three of the mouse
    int y = 0;

    static Input ofKey(Key key) { return {kKey, key, 0, 0, 0}; }
    static Input ofText(char32_t character) { return {kText, kNoKey, character, 0, 0}; }
    static Input ofMouse(Kind kind, int x, int y) { return {kind, kNoKey, 0, x, y}; }

    bool isKey(Key which) const { return kind == kKey && key == which; }
};

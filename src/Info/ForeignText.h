#pragma once

#include "SPW_CString.h"

// Makes a text that comes from elsewhere fit to be shown: every control character (below 32, 127, C1), every character
// that ends a line or changes the direction of the text around it, and every character that takes no room and shows
// nothing becomes one "?" (two where it is a surrogate pair). Nothing else changes, so the length stays, a line stays
// one line, and names that look equal are equal.
//
// Two places call it for what peers say of themselves, and between them see every such text that leaves the program:
// PeerTable, when a row takes its name and label (which the screen, the list and the JSON show), and
// TestEngine::logEvent, for every line of the log, those of the configuration report among them. The other form of that
// report, a text, calls it for each of its lines. The title and what front ends say on standard error, which may quote
// settings, host names and the command line, pass through it too.
SPW_CString showableText(const SPW_CString& text);

// Whether showableText would leave the character alone where it stands by itself.
bool isShowable(char16_t character);

#pragma once

#include "SPW_CString.h"

// Makes a text that comes from elsewhere fit to be shown: every control character (below 32, 127, C1) and every
// character that changes the direction of the text around it becomes one "?". Nothing else changes, so the length
// stays, and a line stays one line.
//
// Two places call it for what peers say of themselves, and between them see every such text that leaves the program:
// PeerTable, when a row takes its name and label (which the screen, the list and the JSON show), and
// TestEngine::logEvent, for every line of the log, those of the configuration report among them. The other form of that
// report, a text, calls it for each of its lines. The title and what front ends say on standard error, which may quote
// settings, host names and the command line, pass through it too.
SPW_CString showableText(const SPW_CString& text);

// Whether showableText would leave the character alone.
bool isShowable(char16_t character);

#pragma once

#include "SPW_CString.h"

// Makes a text from elsewhere fit to be shown. It replaces by "?" (a surrogate pair by two) every control character
// (below 32, 127, C1), every character that ends a line or changes the direction of the text around it, and every
// character that takes no room and shows nothing. All other characters stay. The text keeps its length, a line stays
// one line, and names that look equal are equal.
//
// These texts pass through it: the names of peers, in PeerTable, before the screen, the list and the JSON show them;
// every line of the log, in TestEngine::logEvent, with the lines of the configuration report; every line of that
// report's other form, a text; the title; and what front ends say on standard error, which can quote settings, host
// names and the command line.
SPW_CString showableText(const SPW_CString& text);

// Whether showableText leaves this character as it is when it is no half of a surrogate pair.
bool isShowable(char16_t character);

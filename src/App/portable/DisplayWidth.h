#pragma once

#include "SPW_CString.h"

// How many columns a text takes on a character screen. East Asian wide characters and emoji take two, combining and
// invisible characters none, all others one. It is exact for the scripts that names are written in. Screens differ on
// the rest.
int displayWidth(const SPW_CString& text);
// The same for one character: 0, 1 or 2.
int displayWidth(char32_t character);
// Returns the text, or its beginning and an ellipsis if it is wider than width. width: from 1.
SPW_CString cutToWidth(const SPW_CString& text, int width);

// Returns the character that begins at index, and moves index on to the next one. Half a pair is U+FFFD. index: 0 to
// length() - 1.
char32_t nextCharacter(const SPW_CString& text, int& index);
// Appends a character. A character above U+FFFF becomes a pair.
void appendCharacter(SPW_CString& text, char32_t character);

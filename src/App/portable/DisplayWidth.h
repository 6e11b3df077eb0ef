#pragma once

#include "SPW_CString.h"

// How many columns a text takes on a character screen: East Asian wide characters and emoji take two, combining and
// invisible ones none, all others one. Exact for the scripts that names are written in; screens differ on the rest.
int displayWidth(const SPW_CString& text);
// The same for one character: 0, 1 or 2.
int displayWidth(char32_t character);
// The text, or where it is wider its beginning and an ellipsis. width: from 1.
SPW_CString cutToWidth(const SPW_CString& text, int width);

// The character that begins at index, which moves on to the next one; half a pair is U+FFFD. index: 0 to length() - 1.
char32_t nextCharacter(const SPW_CString& text, int& index);
// Appends a character, as a pair where it takes one.
void appendCharacter(SPW_CString& text, char32_t character);

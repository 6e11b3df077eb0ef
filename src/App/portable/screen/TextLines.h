#pragma once

#include <vector>

#include "SPW_CString.h"

// Cuts a text into lines of at most `width` columns: at its line ends (CR LF or LF), else at a blank, else in the
// middle of a word. Blanks at the start of a line of the text stay. If there is room they also indent the pieces that
// follow. A line end at the end of the text begins no further line.
std::vector<SPW_CString> wrapText(const SPW_CString& text, int width);

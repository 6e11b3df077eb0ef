#pragma once

#include "SPW_CString.h"

// How many columns a text takes on a character screen: East Asian wide characters and emoji take two, combining and
// invisible ones none, all others one. Exact for the scripts that names are written in; screens differ on the rest.
int displayWidth(const SPW_CString& text);

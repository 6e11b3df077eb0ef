#pragma once

#include "SPW_CError.h"

// The answer with which work goes on when nobody can be asked.
SPW_CMessageBox::Answer answerThatGoesOn(SPW_CMessageBox::Buttons buttons);

#pragma once

#include "SPW_CError.h"

// Returns the answer with which work goes on if nobody can be asked.
SPW_CMessageBox::Answer answerThatGoesOn(SPW_CMessageBox::Buttons buttons);

#pragma once

#include "StartProblem.h"

// What a box says about a problem: the problem, and below it what the user can do about it. Lines end with LF.
SPW_CString problemText(const StartProblem& problem);

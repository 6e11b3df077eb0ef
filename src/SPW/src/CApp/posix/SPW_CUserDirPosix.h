#pragma once

#include <string>

// The user's directory for one kind of files as the XDG base directory rules have it: the value of the environment
// variable when it is an absolute path, else `fallback` below the home directory. Read anew at every call.
std::string SPW_UserDir(const char* variable, const char* fallback);

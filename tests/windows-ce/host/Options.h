#pragma once

#include <string>

// The host's options, which are variables of the environment. README.md lists them.
namespace Options {

// Reads the environment. Called once, before anything else here.
void read();

// Whether CE_OPTS has the word.
bool has(const char* word);
// The W and H of the word screen=WxH; 240 and 320 without it.
void screen(int& width, int& height);
// The N of the word space=N; 32 without it.
unsigned spaceMegabytes();
bool tracesCalls();

// The guest's file; empty: the one beside the host.
const std::wstring& program();
// The folder that is the device's root.
const std::wstring& root();
// Where the journal goes; empty: to standard error.
const std::string& journal();
// How many threads may run at a time; 0: any number.
long threadLimit();
// Whether this allocation, counted from 1, is refused.
bool isRefused(long allocation);

}  // namespace Options

#pragma once

#include "SPW_CString.h"

// Gives up the rights that the program does not need, once, before it makes another thread, opens a file of its own or
// sends or receives anything. Threads take over the rights of the thread that makes them.
//
// user: who to become, with the groups of that user; empty to stay. HOME then leads to that user's settings.
//
// What is left: the raw socket for pings, if they need one (see SPW_CIcmp::openAhead). No capability, except that root
// who stays root keeps those by which it uses other users' files and ports below 1024. No program that is started from
// here gets more ("no new privileges").
//
// Returns false when that user is not known or cannot be become; `why` is then a text to show. A capability that the
// system does not let go is told on standard error, and the program goes on.
[[nodiscard]] bool giveUpRights(const SPW_CString& user, SPW_CString& why);

// What is to be told of the settings when the program has become that user: that they have no place. Empty if they have
// one, or if no user was named. Any thread.
SPW_CString settingsProblemOf(const SPW_CString& user);

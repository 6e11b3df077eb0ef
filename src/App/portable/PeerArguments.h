#pragma once

#include "PeerTable.h"
#include "SPW_CString.h"
#include "TestEngine.h"

// The peers of the command line, on their way into the engine.

enum class PeerAdded {
    kYes,
    kKnown,     // the address has a row, or the settings name it: it is taken once
    kNotFound,  // nobody knows an address of that host
};

// Adds a peer whose address is a dotted quad or a host's name. Of a host with several addresses the first is taken.
// why: the reason if the peer was not added, for the user to read and safe to show. Blocks while a name server is
// asked.
PeerAdded addPeer(TestEngine& engine, const PeerRecord& argument, SPW_CString& why);

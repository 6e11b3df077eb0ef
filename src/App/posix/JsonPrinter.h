#pragma once

#include <string>

#include "Snapshot.h"

// A snapshot as JSON, one object per row and line (see docs/formats.md).
std::string formatJson(const Snapshot& snapshot);

#pragma once

#include <nlohmann/json_fwd.hpp>

#include "Snapshot.h"

// One row of a snapshot as an object; docs/formats.md describes its fields. index: of the row, from 0.
nlohmann::ordered_json rowObject(const Snapshot& snapshot, int index);

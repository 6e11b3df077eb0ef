#pragma once

#include "UiSink.h"

// For front ends that need no row updates: they take snapshots, or have no rows at all.
class SilentSink final : public UiSink {
public:
    void updatePeerRow(const SPW_CString&, int, int, std::int32_t, std::int32_t) override {}
};

#pragma once

#include "UiSink.h"

// For front ends that need no row updates because they take snapshots or have no rows at all.
class SilentSink final : public UiSink {
public:
    void rowChanged(const PeerRowValues&, int) override {}
};

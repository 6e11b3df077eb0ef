#pragma once

#include "AddPeerForm.h"
#include "Dialog.h"
#include "PeerTable.h"
#include "TestEngine.h"

// The dialog in which the user names a peer. Returns IDOK from runModal when it was accepted; peer() is the one that
// the user named.
class AddPeerDialog final : public Dialog {
public:
    // engine: tells which addresses are peers already; must outlive the dialog.
    explicit AddPeerDialog(const TestEngine& engine);
    // Only after the dialog was accepted.
    const PeerRecord& peer() const { return m_peer; }

protected:
    void onInitialise() override;
    void onCommand(int control) override;
    void onEnd() override;

private:
    void accept();

    const TestEngine& m_engine;
    PeerRecord m_peer;
};

#pragma once

#include "AddPeerForm.h"
#include "Dialog.h"
#include "PeerTable.h"
#include "TestEngine.h"

// The dialog in which the user names a peer. runModal answers IDOK when the input was accepted; peer() is then the peer
// that the user has named.
class AddPeerDialog final : public Dialog {
public:
    // engine: knows which addresses are peers already. It must outlive the dialog.
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

#pragma once

#include <cstdint>

#include "ListenerLimits.h"
#include "PeerRowValues.h"
#include "Probe.h"
#include "ProbeEventSink.h"
#include "SPW_CArray.h"
#include "SPW_CCriticalSection.h"
#include "SPW_CString.h"

// What the settings say about the probes of a test; a copy, and thus free of their lock.
struct ProbePlan {
    bool multicast = false;
    bool udp = false;
    bool tcp = false;
    bool ping = false;
    std::uint32_t port = 0;     // of UDP and TCP
    std::int32_t periodMs = 0;  // between two probes
    std::int32_t overheadBytes = 0;
    SPW_CString announcement;  // what every connector sends
    SPW_CString multicastGroup;
    std::uint32_t multicastPort = 0;
    std::int32_t multicastTtl = 0;
    bool allowFlooding = false;  // multicast probes without a pause are meant
    ListenerLimits listenerLimits;
};

// The peer whose probes are to be made.
struct ProbedPeer {
    // What is told about the probes of a peer, and when they start. Logs show the difference.
    enum Manner {
        kAdded,        // each probe is announced, then started if a test runs; a start that fails is told
        kDiscovered,   // each probe is started if a test runs, then announced; a start that fails is not told
        kUnannounced,  // the same without a line for any probe
    };

    SPW_CString address;
    std::int32_t row = 0;  // the number of its row
    bool udp = true;
    bool tcp = true;
    bool ping = true;
    Manner manner = kAdded;
    bool isTestRunning = false;
};

// A probe without a thread or without memory: it will neither send nor hear anything.
struct ProbeNotMade {
    static constexpr std::int32_t kNoRow = 0;

    SPW_CString what;           // "VTR_CPinger to 10.0.0.7"
    SPW_CString why;            // in words and with the code
    std::int32_t row = kNoRow;  // of the peer that lacks it
    Protocol protocol = kMulticast;
    bool isAnnounced = true;  // a log has a line for it; false where many peers come at once
};

// All probe objects of an engine: makes, starts, stops and destroys them, and says what it does.
//
// Two kinds of threads use it. The owner is the thread that drives the test; there is one at a time. A guest is a
// thread of a listener that has heard an unknown sender and makes the probes of that peer, or the engine's thread for
// time. A guest enters, makes or retires probes and leaves. The owner may close the set and is alone in it until it
// opens the set again:
//
//     owner                                             guests
//     close                                             leave
//         destroyAll, make..., startSending             none
//     open                                              may enter
//         startListening, makePeerProbes,
//         stopListening                                 any
//     close                                             leave
//         stopSending                                   none
//     open                                              may enter
//
// The rules that follow from it:
//
// - The owner destroys probes while the set is closed. Hence the owner may use every probe of the
//   arrays without the lock while the set is closed, and a listener at any time.
// - While the set is open a guest may retire a peer's probes: they leave the arrays and are asked
//   to end, which waits for nothing. Hence a connector or pinger of the arrays is used under the
//   lock then. The thread that has just made a probe needs no lock to use it.
// - If a guest starts its probe, it does that before it appends it. A probe that the owner finds
//   has thus been started, or its start has failed and its text is complete.
// - The thread for time destroys what was retired and waits for the steps. A step waits for no
//   lock that this thread holds and for no listener. A listener's thread destroys nothing: what
//   it waits for is lost to its socket.
// - Starting, stopping and destroying a probe waits for its step. The step may be inside a call
//   of the ProbeEventSink or wait for the log. Hence none of it happens under this lock or the
//   engine's.
// - Listeners stop while the set is open. Stopping one waits for its step, and thus for the guest
//   inside it. Then the owner closes the set, and no probe can join behind the one that
//   stopSending() has just passed. To close first would throw away what the last steps of the
//   listeners have found.
// - close() waits for guests. It ends, because a guest waits only for locks that the closer does
//   not hold and for the log, whose writer depends on nobody.
class ProbeSet {
public:
    // Who is told. Called on the thread that has called the set, without any lock of the set.
    class Owner {
    public:
        virtual ~Owner() = default;
        // A line for the test log, in its place in the prescribed order.
        virtual void onProbeLine(const SPW_CString& line) = 0;
        virtual void onProbeNotMade(const ProbeNotMade& probe) = 0;
        // protocol: what cannot be heard. errorText: the listener's, or why there is none.
        virtual void onListenerNotStarted(Protocol protocol, const SPW_CString& errorText) = 0;
    };

    // sink: gets the reports of all probes. Both must outlive the set.
    ProbeSet(ProbeEventSink& sink, Owner& owner) : m_sink(sink), m_owner(owner) {}
    ~ProbeSet() { destroyAll(); }
    ProbeSet(const ProbeSet&) = delete;
    ProbeSet& operator=(const ProbeSet&) = delete;

    // ---- Owner and guests

    // Makes the probes of one peer that both the plan and the peer want: UDP, TCP, ping. No other thread may retire the
    // peer's probes meanwhile.
    void makePeerProbes(const ProbedPeer& peer, const ProbePlan& plan);

    // ---- Guests

    // False while the set is closed. Otherwise the caller is a guest until leave().
    [[nodiscard]] bool enter();
    void leave();
    bool isClosed() const;
    // Takes the probes of these rows out of the set and asks them to end; returns at once. rows: rising.
    void retire(const SPW_CArray<std::int32_t>& rows);
    // Destroys what was retired and waits for the end of the steps. For the thread for time alone.
    void destroyRetired() { destroy(m_retired); }

    // ---- The owner

    // Makes the multicast connector and the listeners that the plan wants.
    void makeGroupProbes(const ProbePlan& plan);
    // Starts connectors, then pingers, each in the order of their making. The set is closed.
    void startSending();
    // The set is open: the first listener may find peers while the second one is started.
    void startListening();
    void stopListening();
    // The set is closed.
    void stopSending();
    // Refuses guests and waits until those inside have left.
    void close();
    void open();
    // Closes the set and destroys every probe.
    void destroyAll();

private:
    struct Member {
        Probe* probe = nullptr;  // null where it could not be made
        std::int32_t row = ProbeNotMade::kNoRow;
        Protocol protocol = kMulticast;
    };
    typedef SPW_CArray<Member> Probes;
    struct Introduction;

    void introduce(Probe* probe, const ProbedPeer& peer, const Introduction& texts);
    void append(Probes& probes, const Member& member);
    static void askAllToStop(const Probes& probes);
    static void askAllToEnd(const Probes& probes);
    static void moveOut(Probes& probes, const SPW_CArray<std::int32_t>& rows, Probes& out);
    void addListener(Probe* listener, ProbeKind kind, Protocol protocol, const char16_t* className);
    void startAll(const Probes& probes, const char16_t* failure, int& started);
    void stopAll(const Probes& probes, const char16_t* failure);
    SPW_CString connectorText(const Probes& probes, const Probe* probe) const;
    void destroy(Probes& probes);
    bool hasGuests() const;

    ProbeEventSink& m_sink;
    Owner& m_owner;

    mutable SPW_CCriticalSection m_lock;
    // All below: under m_lock. Arrays in the order in which probes are made.
    Probes m_connectors;
    Probes m_listeners;
    Probes m_pingers;
    Probes m_retired;  // asked to end, to be destroyed
    bool m_isClosed = false;
    int m_guests = 0;
};

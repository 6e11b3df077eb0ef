#include "EngineWorker.h"

#include <utility>

#include "AddPeerForm.h"
#include "Console.h"
#include "PeerArguments.h"
#include "ProblemText.h"
#include "Rights.h"
#include "SPW_CError.h"

EngineWorker::EngineWorker(const CommandLine& options, Wakeup& wakeup, ScreenMessageBox& box, EndWatch& endWatch)
    : m_options(options), m_wakeup(wakeup), m_box(box), m_endWatch(endWatch), m_board(*this), m_thread([this] {
          work();
      }) {
    ask([this] { makeEngine(); });
}

EngineWorker::~EngineWorker() {
    finish();
}

// --- Asked by the screen

void EngineWorker::startTest() {
    ask([this] { start(); });
}

void EngineWorker::stopTest() {
    ask([this] { stop(); });
}

void EngineWorker::resetStatistics() {
    ask([this] { m_engine->resetStatistics(); });
}

void EngineWorker::logReport() {
    ask([this] {
        m_engine->logReport();
        tellEvent(openLog().isEmpty() ? u"there is no log" : u"report lines are in the log");
    });
}

void EngineWorker::addPeer(const PeerRecord& peer) {
    ask([this, peer] {
        // The box has asked this before. Since then the thread may have added the same address.
        SPW_CArray<SPW_CString> known;
        m_engine->knownAddresses(known);
        const SPW_CString why = whyNotAdded(peer.address, known);
        if (why.isEmpty()) {
            m_engine->addPeer(peer);
        }
        tellEvent(why.isEmpty() ? peer.address + u" added" : why);
    });
}

void EngineWorker::knownAddresses(SPW_CArray<SPW_CString>& addresses) const {
    m_engine->knownAddresses(addresses);
}

bool EngineWorker::insight(std::int32_t row, PeerInsightValues& values) const {
    return m_engine->insight(row, values);
}

std::uint32_t EngineWorker::eventsAfter(std::uint32_t after, SPW_CArray<InsightEvent>& events) const {
    return m_engine->eventsAfter(after, events);
}

void EngineWorker::askForInfo() {
    ask([this] {
        const SPW_CString text = m_engine->localInfo();
        tell([text](Screen& screen) { screen.showInfo(text); });
    });
}

void EngineWorker::answerMessage(int message, SPW_CMessageBox::Answer answer) {
    m_box.answer(message, answer);
}

// --- Done on the worker's thread

void EngineWorker::makeEngine() {
    m_endWatch.startBegins();
    m_engine = std::make_unique<TestEngine>(&m_board, true);
    m_endWatch.lookAtLogOf(*m_engine);
    tellProblems();
    const SPW_CString problem = settingsProblemOf(m_options.user);
    if (!problem.isEmpty()) {
        m_box.tell(problem, u"Linkometry");
    }
    // Errors are shown only from here on, because tellProblems() has just said in plainer words why there is no log.
    SPW_CError::instance->setShowErrors(true);
    addPeers();
    m_endWatch.startEnds();
    tell([title = m_engine->title(), log = openLog()](Screen& screen) { screen.ready(title, log); });
}

// A peer that is known already needs no box, because the test is the one that the user has asked for.
void EngineWorker::addPeers() {
    for (int i = 0; i < m_options.peers.numberOfElements(); ++i) {
        SPW_CString why;
        const PeerAdded added = ::addPeer(*m_engine, m_options.peers[i], why);
        if (added == PeerAdded::kKnown) {
            complain(why);
        }
        if (added == PeerAdded::kNotFound) {
            m_box.tell(why, u"Linkometry");
        }
    }
}

void EngineWorker::start() {
    m_endWatch.startBegins();
    begin();
    m_endWatch.startEnds();
}

void EngineWorker::begin() {
    // tellProblems() says in plainer words why the log cannot be opened.
    SPW_CError::instance->setShowErrors(false);
    m_engine->retryLog();
    SPW_CError::instance->setShowErrors(true);
    if (hasProblem(problems(), StartProblem::kLogInUse)) {
        tell([](Screen& screen) { screen.testRefused(); });
        tellProblems();
        return;
    }
    m_board.clear();
    m_lastTest = m_engine->testNumber();
    m_engine->start();
    tell([title = m_engine->title(), log = openLog(), number = m_lastTest,
          period = m_engine->periodMs()](Screen& screen) {
        screen.showLog(log);
        screen.testStarted(title, number, period);
    });
    tellProblems();
}

SPW_CArray<StartProblem> EngineWorker::problems() const {
    SPW_CArray<StartProblem> problems;
    m_engine->startProblems(problems);
    return problems;
}

void EngineWorker::tellProblems() {
    const SPW_CArray<StartProblem> all = problems();
    for (int i = 0; i < all.numberOfElements(); ++i) {
        m_box.tell(problemText(all[i]), u"Linkometry");
    }
}

// Returns the path of the log, or an empty text if there is no log.
SPW_CString EngineWorker::openLog() const {
    const bool hasLog =
        !hasProblem(problems(), StartProblem::kLogInUse) && !hasProblem(problems(), StartProblem::kLogNotOpened);
    return hasLog ? m_engine->logFilePath() : SPW_CString();
}

void EngineWorker::stop() {
    m_engine->stop();
    tell([](Screen& screen) { screen.testStopped(); });
}

// --- Between the threads

void EngineWorker::work() {
    for (;;) {
        std::unique_lock<std::mutex> guard(m_lock);
        m_asked.wait(guard, [this] { return m_isFinished || !m_tasks.empty(); });
        if (m_tasks.empty()) {
            return;
        }
        const std::function<void()> task = std::move(m_tasks.front());
        m_tasks.pop_front();
        guard.unlock();
        task();
    }
}

void EngineWorker::ask(std::function<void()> task) {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_tasks.push_back(std::move(task));
    m_asked.notify_one();
}

void EngineWorker::tell(News news) {
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_news.push_back(std::move(news));
    }
    m_wakeup.wake();
}

void EngineWorker::tellEvent(const SPW_CString& event) {
    tell([event](Screen& screen) { screen.tell(event); });
}

std::vector<EngineWorker::News> EngineWorker::takeNews() {
    const std::lock_guard<std::mutex> guard(m_lock);
    std::vector<News> news;
    news.swap(m_news);
    return news;
}

void EngineWorker::finish() {
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_isFinished = true;
        m_asked.notify_one();
    }
    m_thread.join();
}

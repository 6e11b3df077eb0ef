#include "ParallelWork.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "SPW_CThread.h"
#include "VTR_CEvent.h"

namespace {

// A thousand peers have three thousand probes: with so many threads each waits for six steps, 0.3 s in all at a period
// of 1 s and 3 s at periods so long that a step sleeps a whole second. A thread that only waits costs some 10 KiB.
constexpr int kMaximumThreads = 512;

// What is left to do; shared by the threads.
struct WorkList {
    const std::function<void(int)>& work;
    const int count;
    std::atomic<int> next{0};

    // False when nothing is left.
    bool doOne() {
        const int index = next++;
        if (index >= count) {
            return false;
        }
        work(index);
        return true;
    }
};

class Worker : public SPW_CThread {
public:
    explicit Worker(WorkList& list) : m_list(list) {}
    // Waits until nothing is left to do.
    ~Worker() override {
        if (m_hasThread) {
            (void)m_finished.wait(kSPWForever);  // ends with the event or not at all
        }
    }
    // False when there can be no thread.
    bool begin() {
        m_hasThread = m_finished.create(false, false, nullptr) == 0 && start() == 0;
        return m_hasThread;
    }

    void step() override {
        if (!m_list.doOne()) {
            requestStop();
        }
    }
    void finish() override { (void)m_finished.set(); }

private:
    WorkList& m_list;
    VTR_CEvent m_finished;
    bool m_hasThread = false;
};

}  // namespace

void doInParallel(int count, const std::function<void(int)>& work) {
    WorkList list{work, count};
    std::vector<std::unique_ptr<Worker>> workers;              // whose end waits for all of them
    const int threads = std::min(count - 1, kMaximumThreads);  // beside the caller's
    for (int i = 0; i < threads; ++i) {
        std::unique_ptr<Worker> worker(new (std::nothrow) Worker(list));
        if (worker == nullptr || !worker->begin()) {
            break;
        }
        workers.push_back(std::move(worker));
    }
    while (list.doOne()) {
    }
}

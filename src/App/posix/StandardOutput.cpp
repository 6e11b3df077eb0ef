#include "StandardOutput.h"

#include <chrono>

#include "Console.h"

StandardOutput::StandardOutput(Wakeup& wakeup, int descriptor)
    : m_wakeup(wakeup), m_descriptor(descriptor), m_thread([this] { work(); }) {}

StandardOutput::~StandardOutput() {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_isFinished = true;
    m_changed.notify_all();
}

void StandardOutput::print(const std::string& text) {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_failure != 0) {
        return;
    }
    m_text += text;
    m_changed.notify_all();
}

bool StandardOutput::isBusy() const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_isWriting || !m_text.empty();
}

int StandardOutput::failure() const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_failure;
}

bool StandardOutput::waitUntilWritten(std::uint32_t patienceMs) {
    std::unique_lock<std::mutex> guard(m_lock);
    while (m_isWriting || !m_text.empty()) {
        const std::uint64_t before = m_progress;
        const auto isNews = [this, before] { return m_progress != before || (!m_isWriting && m_text.empty()); };
        if (!m_changed.wait_for(guard, std::chrono::milliseconds(patienceMs), isNews)) {
            return false;
        }
    }
    return true;
}

void StandardOutput::work() {
    std::unique_lock<std::mutex> guard(m_lock);
    for (;;) {
        m_changed.wait(guard, [this] { return m_isFinished || !m_text.empty(); });
        if (m_text.empty()) {
            return;
        }
        std::string text;
        text.swap(m_text);
        m_isWriting = true;
        guard.unlock();
        const int failure = writeAll(m_descriptor, text, [this](std::size_t bytes) { count(bytes); });
        guard.lock();
        m_isWriting = false;
        if (failure != 0) {
            m_failure = failure;
            m_text.clear();
        }
        m_changed.notify_all();
        m_wakeup.wake();
    }
}

void StandardOutput::count(std::size_t bytes) {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_progress += bytes;
    m_changed.notify_all();
}

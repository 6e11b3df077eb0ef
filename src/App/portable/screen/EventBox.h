#pragma once

#include <cstdint>
#include <vector>

#include "ScreenCommands.h"
#include "TextBox.h"

// What has happened to the peers, with clock times; the newest at the end. The text goes on while the box is open, and
// stays at its end until the user scrolls back. A change bears the time at which it really began; the list is in the
// order in which the changes were noticed.
class EventBox final : public ScreenBox {
public:
    // commands must outlive the box.
    explicit EventBox(const ScreenCommands& commands);

    void draw(Canvas& canvas) override;
    bool handle(const Input& input) override { return m_text.handle(input); }

private:
    void takeNew();

    // As many as the engine remembers.
    static constexpr std::size_t kMost = 1000;

    const ScreenCommands& m_commands;
    TextBox m_text;
    std::vector<SPW_CString> m_lines;
    std::uint32_t m_latest = 0;  // the number to ask with the next time
};

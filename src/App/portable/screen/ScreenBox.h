#pragma once

#include <vector>

#include "Canvas.h"
#include "Input.h"
#include "SPW_CString.h"

// A box over the screen, which gets all that the user does while it is there.
class ScreenBox {
public:
    virtual ~ScreenBox() = default;
    virtual void draw(Canvas& canvas) = 0;
    // False when the box is to be closed.
    [[nodiscard]] virtual bool handle(const Input& input) = 0;

protected:
    // The middle of the canvas, or all of it where that is smaller.
    static Area centred(const Canvas& canvas, int width, int height);
    // What is inside a frame, with a blank column at either side.
    static Area inside(const Area& frame);
};

// The buttons at the foot of a box, in the middle of its line.
class BoxButtons {
public:
    explicit BoxButtons(std::vector<SPW_CString> captions) : m_captions(std::move(captions)) {}

    int count() const { return static_cast<int>(m_captions.size()); }
    // Columns that all of them take.
    int width() const;
    // focus: which one has the keyboard's focus; -1 when none has.
    void draw(Canvas& canvas, const Area& line, int focus);
    // As of the latest drawing; -1 when there is none.
    int buttonAt(int x, int y) const;

private:
    std::vector<SPW_CString> m_captions;
    std::vector<Area> m_places;
};

#pragma once

#include <vector>

#include "Canvas.h"
#include "Input.h"
#include "SPW_CString.h"

// A box over the screen. It gets all that the user does while it is open.
class ScreenBox {
public:
    virtual ~ScreenBox() = default;
    virtual void draw(Canvas& canvas) = 0;
    // False when the box is to be closed.
    [[nodiscard]] virtual bool handle(const Input& input) = 0;

protected:
    // Returns an area in the middle of the canvas, or the whole canvas if that is smaller.
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
    // Returns which button the latest drawing has put there, or -1.
    int buttonAt(int x, int y) const;

private:
    std::vector<SPW_CString> m_captions;
    std::vector<Area> m_places;
};

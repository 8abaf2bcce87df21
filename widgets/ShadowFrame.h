#pragma once

class QWidget;

// Paints the white card with a soft five-pixel blue outline that every
// frameless window of the program wears. The window must be translucent and
// keep a five-pixel margin round its content; call paint() from paintEvent.
// Without a compositing manager the margin is filled white rather than left
// transparent, which the X server would show black.
class ShadowFrame
{
public:
    void paint(QWidget* widget) const;

    // Alpha of the k-th outline (k = 0 is the innermost): (sqrt(5) - sqrt(k)) * 50.
    static int outlineAlpha(int k);
};

#pragma once

// Whether the desktop blends translucent windows over what lies behind them.
// Without a compositing manager on X11 the transparent margin every frameless
// window keeps for its shadow shows as solid black, so ShadowFrame fills it
// instead. Wayland, Windows, macOS and the offscreen platform always blend.
class Compositing
{
public:
    Compositing() = delete;

    // Asked of the X server at most every two seconds, so a compositor
    // started or stopped while the program runs is noticed on the next paint.
    static bool active();
};

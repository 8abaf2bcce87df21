#pragma once

#include <QString>

// The text of the terminal progress line, worked out from counts and time
// alone so it can be tested without a terminal:
//   [##########----------]  120/500   8.4 files/s   0:45 left
class ProgressMeter
{
public:
    ProgressMeter() = delete;

    // `done` of `total` files after `elapsedSeconds`; the line is cut to
    // `width` characters, dropping the bar first.
    static QString line(int done, int total, double elapsedSeconds, int width);

    // Files per second so far; 0 until one file is done.
    static double rate(int done, double elapsedSeconds);

    // Seconds left at the rate so far; negative when it cannot be told yet.
    static double secondsLeft(int done, int total, double elapsedSeconds);

    // "0:07", "12:30", "1:02:03"; "--:--" for an unknown (negative) time.
    static QString duration(double seconds);
};

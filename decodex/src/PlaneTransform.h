#pragma once

#include "PlanarImage.h"

#include <vector>

namespace decodex {

// Turns and mirrors a decoded picture the way a HEIF file's 'irot' and
// 'imir' boxes ask, in the order the file lists them. Phones store portrait
// photos on their side with an 'irot'; doing it on the planes keeps those
// photos on the direct path instead of a full RGB round trip through libheif.
class PlaneTransform
{
public:
    enum class Step
    {
        RotateLeft,       // 'irot' 1: a quarter turn anti-clockwise
        RotateHalf,       // 'irot' 2
        RotateRight,      // 'irot' 3
        MirrorLeftRight,  // 'imir' 1
        MirrorTopBottom,  // 'imir' 0
    };

    // Every list of steps folds into one of eight orientations: the sample
    // at (x, y) of the result is the input's at (sx, sy), where (u, v) is
    // (y, x) when `transpose` and (x, y) otherwise, sx = u (or width-1-u
    // when `flipX`) and sy = v (or height-1-v when `flipY`), in the input
    // plane's own size.
    struct Orientation
    {
        bool transpose = false;
        bool flipX = false;
        bool flipY = false;

        bool identity() const { return !transpose && !flipX && !flipY; }
    };
    static Orientation fold(const std::vector<Step>& steps);

    // True when every step can be done on planes of this chroma format: a
    // quarter turn of 4:2:2 would need a 4:4:0 JPEG, so it is left to libheif.
    static bool supports(const std::vector<Step>& steps, int chromaFormat);

    // The size after the steps.
    static void resultSize(const std::vector<Step>& steps, int& width, int& height);

    // Fills `rows` rows of the turned plane, from row `firstRow` on, from
    // `in`; `out[r]` receives row firstRow + r, which is in.height samples
    // wide when the orientation transposes and in.width otherwise.
    static void fillRows(Orientation orientation, const PlanarImage::Plane& in, int firstRow, int rows,
                         uint8_t* const* out);

    // Applies the steps to `image` in place, through a second picture. False
    // when memory ran out. The JPEG writer turns while it writes instead.
    static bool apply(const std::vector<Step>& steps, PlanarImage& image);
};

} // namespace decodex

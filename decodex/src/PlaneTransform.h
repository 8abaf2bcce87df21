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

    // True when every step can be done on planes of this chroma format: a
    // quarter turn of 4:2:2 would need a 4:4:0 JPEG, so it is left to libheif.
    static bool supports(const std::vector<Step>& steps, int chromaFormat);

    // The size after the steps.
    static void resultSize(const std::vector<Step>& steps, int& width, int& height);

    // Applies the steps to `image` in place. False when memory ran out.
    static bool apply(const std::vector<Step>& steps, PlanarImage& image);
};

} // namespace decodex

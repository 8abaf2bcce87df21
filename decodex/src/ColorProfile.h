#pragma once

#include <cstdint>
#include <vector>

namespace decodex {

// ICC profiles for photos that describe their colours with an nclx box
// instead of an embedded profile.
class ColorProfile
{
public:
    // A v4 RGB profile with the given H.273 colour primaries, a D65 (or the
    // primaries' own) white point and the sRGB tone curve. Empty for BT.709
    // and unspecified primaries, which JPEG readers take as sRGB anyway, and
    // for values that name no primaries.
    static std::vector<uint8_t> forPrimaries(int primaries);
};

} // namespace decodex

#pragma once

#include "PlanarImage.h"
#include "RgbConverter.h"

#include <cstddef>
#include <cstdint>

namespace decodex {

// Shrinks decoded pictures to a smaller size with a Lanczos-3 filter that is
// widened by the shrink factor, so every source pixel counts (no aliasing,
// no moire on fine patterns) and edges stay sharp.
//
// Written here rather than taken from a library: none of the libraries the
// decoder links has a proper filter (libheif's scaling is nearest-neighbour,
// libjpeg-turbo only scales while decoding), and libswscale would bring all
// of FFmpeg into every build of the library, Windows included, for this one
// loop.
class Resampler
{
public:
    // The size whose longer side is `maxLongSide`, keeping the shape; the
    // size as it is when it is within the bound or the bound is 0 or less.
    static void fitLongSide(int& width, int& height, int maxLongSide);

    // Each plane shrinks with the picture (chroma planes to their share of
    // the new size). False when memory ran out; the image is then unchanged.
    static bool shrink(PlanarImage& image, int width, int height);
    static bool shrink(RgbImage& image, int width, int height);

    // One plane of `channels` interleaved 8-bit samples, from src (sw x sh,
    // rows `srcStride` bytes apart) to dst (dw x dh). False when memory ran
    // out.
    static bool resize(const uint8_t* src, int sw, int sh, size_t srcStride, int channels, uint8_t* dst, int dw,
                       int dh, size_t dstStride);
};

} // namespace decodex

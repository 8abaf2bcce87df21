#include "PlanarImage.h"

#include <new>

namespace decodex {

bool PlanarImage::allocate(int width, int height, int chromaFormat)
{
    if (width <= 0 || height <= 0 || chromaFormat < 0 || chromaFormat > 3)
        return false;
    m_width = width;
    m_height = height;
    m_chromaFormat = chromaFormat;
    try {
        for (int i = 0; i < 3; ++i) {
            Plane& p = m_planes[i];
            if (i > 0 && chromaFormat == 0) {
                p = Plane();
                continue;
            }
            const int sx = i == 0 ? 1 : horizontalSubsampling();
            const int sy = i == 0 ? 1 : verticalSubsampling();
            p.width = (width + sx - 1) / sx;
            p.height = (height + sy - 1) / sy;
            p.stride = size_t(p.width);
            p.pixels.reset(new uint8_t[p.stride * size_t(p.height)]);
        }
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

} // namespace decodex

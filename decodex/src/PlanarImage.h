#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace decodex {

// An 8-bit YCbCr picture in separate planes, the layout JPEG codes natively.
class PlanarImage
{
public:
    struct Plane
    {
        std::unique_ptr<uint8_t[]> pixels;
        int width = 0;
        int height = 0;
        size_t stride = 0;

        uint8_t* row(int y) { return pixels.get() + size_t(y) * stride; }
        const uint8_t* row(int y) const { return pixels.get() + size_t(y) * stride; }
    };

    // chromaFormat: 0 monochrome, 1 4:2:0, 2 4:2:2, 3 4:4:4 (as in hvcC).
    // False when the memory could not be had. The samples are left as the
    // allocator gives them: every user writes each one before it is read,
    // and clearing a 200 MP picture first would cost a pass over it.
    bool allocate(int width, int height, int chromaFormat);

    int components() const { return m_chromaFormat == 0 ? 1 : 3; }
    int chromaFormat() const { return m_chromaFormat; }
    int width() const { return m_width; }
    int height() const { return m_height; }
    // Luma samples per chroma sample, horizontally and vertically.
    int horizontalSubsampling() const { return m_chromaFormat == 1 || m_chromaFormat == 2 ? 2 : 1; }
    int verticalSubsampling() const { return m_chromaFormat == 1 ? 2 : 1; }

    Plane& plane(int index) { return m_planes[index]; }
    const Plane& plane(int index) const { return m_planes[index]; }

private:
    int m_width = 0;
    int m_height = 0;
    int m_chromaFormat = 1;
    Plane m_planes[3];
};

} // namespace decodex

#include "ExifEditor.h"

#include <algorithm>
#include <cstring>

namespace decodex {

namespace {

constexpr uint16_t kOrientation = 0x0112;
constexpr uint16_t kExifIfd = 0x8769;
constexpr uint16_t kGpsIfd = 0x8825;
constexpr uint16_t kInteropIfd = 0xA005;
constexpr uint16_t kPixelXDimension = 0xA002;
constexpr uint16_t kPixelYDimension = 0xA003;

class Tiff
{
public:
    Tiff(uint8_t* data, size_t size) : m_data(data), m_size(size)
    {
        if (size >= 8 && data[0] == 'I' && data[1] == 'I' && data[2] == 42 && data[3] == 0) {
            m_little = true;
            m_valid = true;
        } else if (size >= 8 && data[0] == 'M' && data[1] == 'M' && data[2] == 0 && data[3] == 42) {
            m_little = false;
            m_valid = true;
        }
    }

    bool valid() const { return m_valid; }
    size_t size() const { return m_size; }

    bool fits(size_t offset, size_t bytes) const { return offset <= m_size && bytes <= m_size - offset; }

    uint16_t u16(size_t at) const
    {
        return m_little ? uint16_t(m_data[at] | (m_data[at + 1] << 8)) : uint16_t((m_data[at] << 8) | m_data[at + 1]);
    }
    uint32_t u32(size_t at) const
    {
        const uint32_t a = m_data[at], b = m_data[at + 1], c = m_data[at + 2], d = m_data[at + 3];
        return m_little ? (a | (b << 8) | (c << 16) | (d << 24)) : ((a << 24) | (b << 16) | (c << 8) | d);
    }
    void put16(size_t at, uint16_t v)
    {
        m_data[at] = uint8_t(m_little ? v : v >> 8);
        m_data[at + 1] = uint8_t(m_little ? v >> 8 : v);
    }
    void put32(size_t at, uint32_t v)
    {
        for (int i = 0; i < 4; ++i)
            m_data[at + size_t(i)] = uint8_t(m_little ? v >> (8 * i) : v >> (8 * (3 - i)));
    }

    // Offset of a whole IFD table (count, entries, next pointer) or 0.
    size_t ifd(size_t offset) const
    {
        if (offset < 8 || !fits(offset, 2))
            return 0;
        const size_t count = u16(offset);
        return fits(offset, 2 + count * 12 + 4) ? offset : 0;
    }
    size_t entries(size_t ifdOffset) const { return u16(ifdOffset); }
    size_t entry(size_t ifdOffset, size_t i) const { return ifdOffset + 2 + i * 12; }
    size_t nextPointer(size_t ifdOffset) const { return ifdOffset + 2 + entries(ifdOffset) * 12; }
    size_t ifd0() const { return ifd(u32(4)); }

    static size_t typeSize(uint16_t type)
    {
        switch (type) {
        case 1: case 2: case 6: case 7: return 1;
        case 3: case 8: return 2;
        case 4: case 9: case 11: case 13: return 4;
        case 5: case 10: case 12: return 8;
        default: return 0;
        }
    }

    // The IFD an entry points to (Exif, GPS, Interop), or 0.
    size_t subIfd(size_t ifdOffset, uint16_t tag) const
    {
        for (size_t i = 0; i < entries(ifdOffset); ++i) {
            const size_t e = entry(ifdOffset, i);
            if (u16(e) == tag && (u16(e + 2) == 4 || u16(e + 2) == 13))
                return ifd(u32(e + 8));
        }
        return 0;
    }

    // End of the IFD table and of every value it stores out of line.
    size_t extent(size_t ifdOffset) const
    {
        size_t end = ifdOffset + 2 + entries(ifdOffset) * 12 + 4;
        for (size_t i = 0; i < entries(ifdOffset); ++i) {
            const size_t e = entry(ifdOffset, i);
            const uint64_t bytes = uint64_t(typeSize(u16(e + 2))) * u32(e + 4);
            if (bytes > 4) {
                const size_t at = u32(e + 8);
                if (fits(at, size_t(bytes)))
                    end = std::max(end, at + size_t(bytes));
            }
        }
        return end;
    }

private:
    uint8_t* m_data;
    size_t m_size;
    bool m_little = true;
    bool m_valid = false;
};

const uint8_t kExifHeader[6] = {'E', 'x', 'i', 'f', 0, 0};

bool isTiffHeader(const uint8_t* p, size_t left)
{
    return left >= 8
           && ((p[0] == 'I' && p[1] == 'I' && p[2] == 42 && p[3] == 0)
               || (p[0] == 'M' && p[1] == 'M' && p[2] == 0 && p[3] == 42));
}

} // namespace

long ExifEditor::tiffStart(const uint8_t* item, size_t size)
{
    if (!item || size < 4)
        return -1;
    const uint64_t offset = (uint64_t(item[0]) << 24) | (uint64_t(item[1]) << 16) | (uint64_t(item[2]) << 8) | item[3];
    if (offset < size - 4 && isTiffHeader(item + 4 + offset, size - 4 - size_t(offset)))
        return long(4 + offset);
    // Some writers get the offset wrong; look for the header near the start.
    const size_t limit = std::min<size_t>(size, 64);
    for (size_t at = 0; at + 8 <= size && at < limit; ++at) {
        if (isTiffHeader(item + at, size - at))
            return long(at);
    }
    return -1;
}

bool ExifEditor::resetOrientation(uint8_t* tiff, size_t size)
{
    Tiff t(tiff, size);
    if (!t.valid())
        return false;
    const size_t ifd0 = t.ifd0();
    if (!ifd0)
        return false;
    bool found = false;
    for (size_t i = 0; i < t.entries(ifd0); ++i) {
        const size_t e = t.entry(ifd0, i);
        if (t.u16(e) != kOrientation || t.u32(e + 4) != 1)
            continue;
        if (t.u16(e + 2) == 3) {
            t.put16(e + 8, 1);
            t.put16(e + 10, 0);
            found = true;
        } else if (t.u16(e + 2) == 4) {
            t.put32(e + 8, 1);
            found = true;
        }
    }
    return found;
}

bool ExifEditor::setPixelSize(uint8_t* tiff, size_t size, uint32_t width, uint32_t height)
{
    Tiff t(tiff, size);
    const size_t ifd0 = t.valid() ? t.ifd0() : 0;
    const size_t exif = ifd0 ? t.subIfd(ifd0, kExifIfd) : 0;
    int written = 0;
    for (size_t i = 0; exif && i < t.entries(exif); ++i) {
        const size_t e = t.entry(exif, i);
        const uint16_t tag = t.u16(e);
        if ((tag != kPixelXDimension && tag != kPixelYDimension) || t.u32(e + 4) != 1)
            continue;
        const uint32_t value = tag == kPixelXDimension ? width : height;
        if (t.u16(e + 2) == 3 && value <= 0xFFFF) {
            t.put16(e + 8, uint16_t(value));
            t.put16(e + 10, 0);
            ++written;
        } else if (t.u16(e + 2) == 4) {
            t.put32(e + 8, value);
            ++written;
        }
    }
    return written == 2;
}

int ExifEditor::orientation(const uint8_t* tiff, size_t size)
{
    // The walk only reads; the cast lets the reader share the writer's code.
    Tiff t(const_cast<uint8_t*>(tiff), size);
    if (!t.valid())
        return 0;
    const size_t ifd0 = t.ifd0();
    for (size_t i = 0; ifd0 && i < t.entries(ifd0); ++i) {
        const size_t e = t.entry(ifd0, i);
        if (t.u16(e) == kOrientation && t.u16(e + 2) == 3 && t.u32(e + 4) == 1)
            return t.u16(e + 8);
    }
    return 0;
}

bool ExifEditor::dropLocation(uint8_t* tiff, size_t size)
{
    Tiff t(tiff, size);
    if (!t.valid())
        return false;
    const size_t ifd0 = t.ifd0();
    for (size_t i = 0; ifd0 && i < t.entries(ifd0); ++i) {
        const size_t e = t.entry(ifd0, i);
        if (t.u16(e) != kGpsIfd)
            continue;
        if (const size_t gps = t.subIfd(ifd0, kGpsIfd)) {
            const size_t table = 2 + t.entries(gps) * 12 + 4;
            for (size_t j = 0; j < t.entries(gps); ++j) {
                const size_t g = t.entry(gps, j);
                const uint64_t bytes = uint64_t(Tiff::typeSize(t.u16(g + 2))) * t.u32(g + 4);
                if (bytes > 4 && t.fits(t.u32(g + 8), size_t(bytes)))
                    std::memset(tiff + t.u32(g + 8), 0, size_t(bytes));
            }
            std::memset(tiff + gps, 0, table);
        }
        // The entries after it and the next-IFD pointer move up one place.
        const size_t end = t.nextPointer(ifd0) + 4;
        std::memmove(tiff + e, tiff + e + 12, end - e - 12);
        std::memset(tiff + end - 12, 0, 12);
        t.put16(ifd0, uint16_t(t.entries(ifd0) - 1));
        return true;
    }
    return false;
}

size_t ExifEditor::dropThumbnail(uint8_t* tiff, size_t size)
{
    Tiff t(tiff, size);
    if (!t.valid())
        return 0;
    const size_t ifd0 = t.ifd0();
    if (!ifd0)
        return 0;
    t.put32(t.nextPointer(ifd0), 0);
    size_t end = t.extent(ifd0);
    if (const size_t exif = t.subIfd(ifd0, kExifIfd)) {
        end = std::max(end, t.extent(exif));
        if (const size_t interop = t.subIfd(exif, kInteropIfd))
            end = std::max(end, t.extent(interop));
    }
    if (const size_t gps = t.subIfd(ifd0, kGpsIfd))
        end = std::max(end, t.extent(gps));
    return end;
}

std::vector<uint8_t> ExifEditor::forJpeg(const uint8_t* item, size_t size, uint32_t width, uint32_t height)
{
    const long start = tiffStart(item, size);
    if (start < 0)
        return {};
    std::vector<uint8_t> out(kExifHeader, kExifHeader + 6);
    out.insert(out.end(), item + start, item + size);
    uint8_t* tiff = out.data() + 6;
    size_t tiffSize = out.size() - 6;
    resetOrientation(tiff, tiffSize);
    if (width && height)
        setPixelSize(tiff, tiffSize, width, height);
    if (out.size() > kMaxPayload) {
        const size_t kept = dropThumbnail(tiff, tiffSize);
        if (kept == 0 || kept + 6 > kMaxPayload)
            return {};
        out.resize(kept + 6);
    }
    return out;
}

} // namespace decodex

#include "AppleMakerNote.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace decodex {

namespace {

constexpr uint16_t kExifIfd = 0x8769;
constexpr uint16_t kMakerNote = 0x927C;
constexpr uint16_t kHdrHeadroom = 33;
constexpr uint16_t kHdrGain = 48;
const char kAppleSignature[] = "Apple iOS"; // followed by a NUL, a version and the byte order

// Read-only view of a TIFF-style block whose offsets count from `base`.
class Ifds
{
public:
    Ifds(const uint8_t* data, size_t size, size_t base, bool little)
        : m_data(data), m_size(size), m_base(base), m_little(little) {}

    bool fits(size_t at, size_t bytes) const { return at <= m_size && bytes <= m_size - at; }
    uint16_t u16(size_t at) const
    {
        if (!fits(at, 2))
            return 0;
        const uint8_t* p = m_data + at;
        return m_little ? uint16_t(p[0] | p[1] << 8) : uint16_t(p[0] << 8 | p[1]);
    }
    uint32_t u32(size_t at) const
    {
        if (!fits(at, 4))
            return 0;
        const uint8_t* p = m_data + at;
        return m_little ? uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24
                        : uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | uint32_t(p[3]);
    }

    // The entry of `tag` in the IFD at `ifd` (an absolute position), or 0.
    size_t find(size_t ifd, uint16_t tag) const
    {
        const size_t count = u16(ifd);
        if (!fits(ifd + 2, count * 12))
            return 0;
        for (size_t i = 0; i < count; ++i) {
            const size_t entry = ifd + 2 + i * 12;
            if (u16(entry) == tag)
                return entry;
        }
        return 0;
    }

    // Where an entry's value lives (inline when it has four bytes or fewer).
    size_t valueAt(size_t entry, size_t bytes) const
    {
        return bytes <= 4 ? entry + 8 : m_base + u32(entry + 8);
    }

    // A number of any numeric type; false for other types or out of range.
    bool number(size_t entry, double& value) const
    {
        const uint16_t type = u16(entry + 2);
        static const size_t sizes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};
        if (type == 0 || type > 12 || type == 2 || type == 7 || u32(entry + 4) < 1)
            return false;
        const size_t at = valueAt(entry, sizes[type]);
        if (!fits(at, sizes[type]))
            return false;
        switch (type) {
        case 1: value = m_data[at]; break;
        case 6: value = int8_t(m_data[at]); break;
        case 3: value = u16(at); break;
        case 8: value = int16_t(u16(at)); break;
        case 4: value = u32(at); break;
        case 9: value = int32_t(u32(at)); break;
        case 5:
        case 10: {
            const double n = type == 5 ? double(u32(at)) : double(int32_t(u32(at)));
            const double d = type == 5 ? double(u32(at + 4)) : double(int32_t(u32(at + 4)));
            if (d == 0)
                return false;
            value = n / d;
            break;
        }
        case 11: {
            const uint32_t bits = u32(at);
            float f;
            std::memcpy(&f, &bits, 4);
            value = f;
            break;
        }
        default: {
            const uint64_t bits = uint64_t(u32(m_little ? at + 4 : at)) << 32 | u32(m_little ? at : at + 4);
            std::memcpy(&value, &bits, 8);
            break;
        }
        }
        return std::isfinite(value);
    }

private:
    const uint8_t* m_data;
    size_t m_size;
    size_t m_base;
    bool m_little;
};

} // namespace

bool AppleMakerNote::readHdrTags(const uint8_t* tiff, size_t size, double& tag33, double& tag48)
{
    if (!tiff || size < 8 || (tiff[0] != 'I' && tiff[0] != 'M') || tiff[0] != tiff[1])
        return false;
    const Ifds exif(tiff, size, 0, tiff[0] == 'I');
    const size_t exifPointer = exif.find(exif.u32(4), kExifIfd);
    if (!exifPointer)
        return false;
    const size_t note = exif.find(exif.u32(exifPointer + 8), kMakerNote);
    if (!note)
        return false;
    const size_t start = exif.u32(note + 8);
    const size_t length = exif.u32(note + 4);
    // "Apple iOS\0", a 16-bit version, "MM" or "II", then the IFD; the
    // note's offsets count from its own start.
    if (length < 16 || !exif.fits(start, length) || std::memcmp(tiff + start, kAppleSignature, 10) != 0)
        return false;
    const uint8_t* order = tiff + start + 12;
    if ((order[0] != 'M' && order[0] != 'I') || order[0] != order[1])
        return false;
    const Ifds apple(tiff + start, length, 0, order[0] == 'I');
    const size_t headroomEntry = apple.find(14, kHdrHeadroom);
    if (!headroomEntry || !apple.number(headroomEntry, tag33))
        return false;
    // iPhones up to iOS 16 often store tag 33 alone. Apple calls a map
    // valid only with both tags, but such a photo was shot and kept as HDR
    // on purpose, and an SDR JPEG would lose that: a missing tag 48 counts
    // as 0, which the headroom rule turns into 1.8 or 3 stops.
    const size_t gainEntry = apple.find(14, kHdrGain);
    tag48 = 0;
    return !gainEntry || apple.number(gainEntry, tag48);
}

double AppleMakerNote::headroom(double tag33, double tag48)
{
    double stops;
    if (tag33 < 1.0)
        stops = tag48 <= 0.01 ? -20.0 * tag48 + 1.8 : -0.101 * tag48 + 1.601;
    else
        stops = tag48 <= 0.01 ? -70.0 * tag48 + 3.0 : -0.303 * tag48 + 2.303;
    return std::pow(2.0, std::max(stops, 0.0));
}

} // namespace decodex

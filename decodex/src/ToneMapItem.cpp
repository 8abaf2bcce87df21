#include "ToneMapItem.h"

#include "BoxReader.h"
#include "GainMap.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace decodex {

namespace {

constexpr uint32_t kMeta = BoxReader::fourcc("meta");
constexpr uint32_t kIinf = BoxReader::fourcc("iinf");
constexpr uint32_t kInfe = BoxReader::fourcc("infe");
constexpr uint32_t kIref = BoxReader::fourcc("iref");
constexpr uint32_t kIloc = BoxReader::fourcc("iloc");
constexpr uint32_t kIdat = BoxReader::fourcc("idat");
constexpr uint32_t kDimg = BoxReader::fourcc("dimg");
constexpr uint32_t kTmap = BoxReader::fourcc("tmap");
constexpr size_t kMaxPayload = 4096;
// Flags of the metadata.
constexpr uint8_t kUseBaseColourSpace = 0x40;
constexpr uint8_t kCommonDenominator = 0x08;
constexpr uint8_t kBackwardDirection = 0x04;

struct Extent
{
    uint64_t offset = 0;
    uint64_t length = 0;
};

struct Found
{
    std::vector<uint32_t> tmapItems;
    std::map<uint32_t, std::vector<uint32_t>> inputs; // 'dimg' of each item
    std::map<uint32_t, std::pair<int, std::vector<Extent>>> locations; // construction method, extents
    BoxReader idat;
};

void readIinf(BoxReader box, Found& found)
{
    const uint8_t version = box.u8();
    box.skip(3);
    const uint32_t count = version == 0 ? box.u16() : box.u32();
    uint32_t type = 0;
    BoxReader infe;
    for (uint32_t i = 0; i < count && box.nextBox(type, infe); ++i) {
        if (type != kInfe)
            continue;
        const uint8_t v = infe.u8();
        infe.skip(3);
        if (v < 2)
            continue;
        const uint32_t id = v == 2 ? infe.u16() : infe.u32();
        infe.skip(2);
        if (infe.u32() == kTmap && infe.ok())
            found.tmapItems.push_back(id);
    }
}

void readIref(BoxReader box, Found& found)
{
    const uint8_t version = box.u8();
    box.skip(3);
    uint32_t type = 0;
    BoxReader ref;
    while (box.nextBox(type, ref)) {
        const uint32_t from = version == 0 ? ref.u16() : ref.u32();
        const uint16_t count = ref.u16();
        std::vector<uint32_t> to;
        for (uint16_t i = 0; i < count && ref.ok(); ++i)
            to.push_back(version == 0 ? ref.u16() : ref.u32());
        if (type == kDimg && ref.ok())
            found.inputs[from] = to;
    }
}

void readIloc(BoxReader box, Found& found)
{
    const uint8_t version = box.u8();
    box.skip(3);
    const uint8_t sizes1 = box.u8(), sizes2 = box.u8();
    const int offsetSize = sizes1 >> 4, lengthSize = sizes1 & 15, baseSize = sizes2 >> 4;
    const int indexSize = version >= 1 ? sizes2 & 15 : 0;
    const uint32_t count = version < 2 ? box.u16() : box.u32();
    for (uint32_t i = 0; i < count && box.ok(); ++i) {
        const uint32_t id = version < 2 ? box.u16() : box.u32();
        const int method = version >= 1 ? box.u16() & 15 : 0;
        box.skip(2);
        const uint64_t base = box.uint(baseSize);
        const uint16_t extents = box.u16();
        std::vector<Extent> list;
        for (uint16_t e = 0; e < extents && box.ok(); ++e) {
            box.uint(indexSize);
            Extent extent;
            extent.offset = base + box.uint(offsetSize);
            extent.length = box.uint(lengthSize);
            list.push_back(extent);
        }
        if (box.ok())
            found.locations[id] = {method, list};
    }
}

bool fraction(BoxReader& r, bool signedNumerator, uint32_t common, double& value)
{
    const uint32_t raw = r.u32();
    const double n = signedNumerator ? double(int32_t(raw)) : double(raw);
    const uint32_t d = common ? common : r.u32();
    if (d == 0)
        return false;
    value = n / d;
    return true;
}

} // namespace

bool ToneMapItem::parse(const uint8_t* payload, size_t size, GainMapParameters& parameters)
{
    GainMapParameters p;
    BoxReader r(payload, size);
    if (r.u8() != 0 || r.u16() != 0) { // version, minimum version a reader must know
        GainMap::log("gain map's 'tmap' payload of a version this reader does not know");
        return false;
    }
    r.u16(); // writer version
    const uint8_t flags = r.u8();
    const bool commonDenominator = flags & kCommonDenominator;
    uint32_t common = 0;
    if (commonDenominator && (common = r.u32()) == 0) {
        GainMap::log("gain map's 'tmap' payload with a zero denominator");
        return false;
    }
    // The first channel's values; a one-channel map only has that one.
    const bool ok = fraction(r, false, common, p.hdrCapacityMin) && fraction(r, false, common, p.hdrCapacityMax)
                    && fraction(r, true, common, p.gainMapMin) && fraction(r, true, common, p.gainMapMax)
                    && fraction(r, false, common, p.gamma) && fraction(r, true, common, p.offsetSdr)
                    && fraction(r, true, common, p.offsetHdr);
    if (!ok || !r.ok()) {
        GainMap::log("gain map's 'tmap' payload cut short or with a zero denominator");
        return false;
    }
    if (flags & kBackwardDirection) {
        GainMap::log("gain map's 'tmap' payload for an HDR base image, which a JPEG cannot carry");
        return false;
    }
    parameters = p;
    return true;
}

std::vector<uint8_t> ToneMapItem::serialize(const GainMapParameters& p)
{
    const double values[] = {p.hdrCapacityMin, p.hdrCapacityMax, p.gainMapMin, p.gainMapMax,
                             p.gamma,          p.offsetSdr,      p.offsetHdr};
    double largest = 0;
    for (double v : values)
        largest = std::max(largest, std::fabs(v));
    // The finest power of two that keeps every numerator inside 31 bits:
    // 1/64 and the like stay exact, log2 values are off by less than 1e-7.
    uint32_t denominator = 1u << 24;
    while (denominator > 1 && largest * denominator >= 2147483647.0)
        denominator >>= 1;
    std::vector<uint8_t> out{0, 0, 0, 0, kUseBaseColourSpace | kCommonDenominator}; // versions, flags
    auto put = [&out](uint32_t v) {
        for (int shift = 24; shift >= 0; shift -= 8)
            out.push_back(uint8_t(v >> shift));
    };
    put(denominator);
    for (double v : values)
        put(uint32_t(int32_t(std::lround(v * denominator))));
    return out;
}

bool ToneMapItem::read(const uint8_t* file, size_t size, uint32_t gainMapId, GainMapParameters& parameters)
{
    if (!file)
        return false;
    BoxReader top(file, size);
    uint32_t type = 0;
    BoxReader meta;
    while (top.nextBox(type, meta) && type != kMeta) {
    }
    if (type != kMeta)
        return false;
    meta.skip(4);
    Found found;
    BoxReader child;
    while (meta.nextBox(type, child)) {
        if (type == kIinf)
            readIinf(child, found);
        else if (type == kIref)
            readIref(child, found);
        else if (type == kIloc)
            readIloc(child, found);
        else if (type == kIdat)
            found.idat = child;
    }
    for (uint32_t item : found.tmapItems) {
        const auto inputs = found.inputs.find(item);
        const auto location = found.locations.find(item);
        if (inputs == found.inputs.end() || inputs->second.size() != 2 || inputs->second[1] != gainMapId
            || location == found.locations.end() || location->second.first > 1)
            continue;
        const bool inIdat = location->second.first == 1;
        const uint8_t* source = inIdat ? found.idat.current() : file;
        const uint64_t sourceSize = inIdat ? found.idat.remaining() : size;
        std::vector<uint8_t> payload;
        for (const Extent& e : location->second.second) {
            if (e.offset > sourceSize || e.length > sourceSize - e.offset || payload.size() + e.length > kMaxPayload)
                return false;
            payload.insert(payload.end(), source + e.offset, source + e.offset + e.length);
        }
        return parse(payload.data(), payload.size(), parameters);
    }
    return false;
}

} // namespace decodex

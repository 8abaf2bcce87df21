#include "ToneMapItem.h"

#include "BoxReader.h"
#include "GainMap.h"
#include "HeifMeta.h"

#include <algorithm>
#include <cmath>

namespace decodex {

namespace {

constexpr uint32_t kDimg = BoxReader::fourcc("dimg");
constexpr uint32_t kTmap = BoxReader::fourcc("tmap");
constexpr size_t kMaxPayload = 4096;
// Flags of the metadata.
constexpr uint8_t kUseBaseColourSpace = 0x40;
constexpr uint8_t kCommonDenominator = 0x08;
constexpr uint8_t kBackwardDirection = 0x04;

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
    return file && read(HeifMeta::read(file, size), gainMapId, parameters);
}

bool ToneMapItem::read(const HeifMeta& meta, uint32_t gainMapId, GainMapParameters& parameters)
{
    for (const auto& item : meta.itemTypes) {
        if (item.second != kTmap)
            continue;
        const std::vector<uint32_t>& inputs = meta.referenced(kDimg, item.first);
        if (inputs.size() != 2 || inputs[1] != gainMapId)
            continue;
        std::vector<uint8_t> scratch;
        HeifMeta::Span payload;
        return meta.itemBytes(item.first, scratch, payload, kMaxPayload)
               && parse(payload.data, payload.size, parameters);
    }
    return false;
}

} // namespace decodex

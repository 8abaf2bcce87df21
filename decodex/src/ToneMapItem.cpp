#include "ToneMapItem.h"

#include "BoxReader.h"
#include "GainMap.h"
#include "HeifMeta.h"

namespace decodex {

namespace {

constexpr uint32_t kDimg = BoxReader::fourcc("dimg");
constexpr uint32_t kTmap = BoxReader::fourcc("tmap");
constexpr size_t kMaxPayload = 4096;

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
    if (r.u8() != 0 || r.u16() != 0) // version, minimum version a reader must know
        return false;
    r.u16(); // writer version
    const uint8_t flags = r.u8();
    const bool backward = flags & 0x04;
    const bool commonDenominator = flags & 0x08;
    uint32_t common = 0;
    if (commonDenominator && (common = r.u32()) == 0)
        return false;
    double baseHeadroom = 0, alternateHeadroom = 0, baseOffset = 0, alternateOffset = 0;
    // The first channel's values; a one-channel map only has that one.
    const bool ok = fraction(r, false, common, baseHeadroom) && fraction(r, false, common, alternateHeadroom)
                    && fraction(r, true, common, p.gainMapMin) && fraction(r, true, common, p.gainMapMax)
                    && fraction(r, false, common, p.gamma) && fraction(r, true, common, baseOffset)
                    && fraction(r, true, common, alternateOffset);
    if (!ok || !r.ok() || backward)
        return false;
    p.hdrCapacityMin = baseHeadroom;
    p.hdrCapacityMax = alternateHeadroom;
    p.offsetSdr = baseOffset;
    p.offsetHdr = alternateOffset;
    parameters = p;
    return true;
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

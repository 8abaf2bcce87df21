#include "HeifLayout.h"

#include "BoxReader.h"
#include "HevcSps.h"

#include <algorithm>
#include <map>
#include <set>

namespace decodex {

namespace {

constexpr uint32_t kDimg = BoxReader::fourcc("dimg");
constexpr uint32_t kAuxl = BoxReader::fourcc("auxl");
constexpr uint32_t kThmb = BoxReader::fourcc("thmb");
constexpr uint32_t kHvc1 = BoxReader::fourcc("hvc1");
constexpr uint32_t kAv01 = BoxReader::fourcc("av01");
constexpr uint32_t kGrid = BoxReader::fourcc("grid");
constexpr uint32_t kHvcC = BoxReader::fourcc("hvcC");
constexpr uint32_t kIspe = BoxReader::fourcc("ispe");
constexpr uint32_t kIrot = BoxReader::fourcc("irot");
constexpr uint32_t kImir = BoxReader::fourcc("imir");
constexpr uint32_t kClap = BoxReader::fourcc("clap");

// Grids larger than this are left to libheif, which has its own limits.
constexpr int kMaxTiles = 64 * 64;

using Property = HeifMeta::Property;

struct HevcConfig
{
    int chromaFormat = -1;
    int bitDepthLuma = 0;
    int bitDepthChroma = 0;
    int nalLengthSize = 0;
    std::vector<HeifLayout::Span> parameterSets;
};

bool readHvcC(BoxReader box, HevcConfig& config)
{
    box.skip(16);
    config.chromaFormat = box.u8() & 3;
    config.bitDepthLuma = (box.u8() & 7) + 8;
    config.bitDepthChroma = (box.u8() & 7) + 8;
    box.skip(2);
    config.nalLengthSize = (box.u8() & 3) + 1;
    const int arrays = box.u8();
    for (int a = 0; a < arrays && box.ok(); ++a) {
        box.u8();
        const int count = box.u16();
        for (int n = 0; n < count && box.ok(); ++n) {
            const size_t length = box.u16();
            if (length > box.remaining())
                return false;
            config.parameterSets.push_back({box.current(), length});
            box.skip(length);
        }
    }
    return box.ok() && config.nalLengthSize != 3;
}

bool readIspe(const Property* ispe, int& width, int& height)
{
    if (!ispe)
        return false;
    BoxReader box = ispe->body;
    box.skip(4);
    const uint32_t w = box.u32();
    const uint32_t h = box.u32();
    if (!box.ok() || w == 0 || h == 0 || w > 65535 || h > 65535)
        return false;
    width = int(w);
    height = int(h);
    return true;
}

uint64_t roundUp(uint64_t value, uint64_t step) { return (value + step - 1) / step * step; }

// Checks every parameter set the decoder will be given for one HEVC item:
// those in hvcC and any inside the coded data, which replace them. A
// picture may be padded to whole coding blocks, never more.
bool spsFit(const HeifMeta& meta, uint32_t item, uint64_t maxWidth, uint64_t maxHeight, uint64_t& pixels)
{
    HevcConfig config;
    const Property* hvcC = meta.property(item, kHvcC);
    if (!hvcC || !readHvcC(hvcC->body, config))
        return true; // libheif refuses the item before decoding
    std::vector<HeifLayout::Span> sets = config.parameterSets;
    std::vector<uint8_t> scratch;
    HeifLayout::Span data;
    if (meta.itemBytes(item, scratch, data)) {
        BoxReader units(data.data, data.size);
        while (units.remaining() >= size_t(config.nalLengthSize)) {
            const uint64_t length = units.uint(config.nalLengthSize);
            if (length > units.remaining())
                break;
            if (HevcSps::isSps(units.current(), size_t(length)))
                sets.push_back({units.current(), size_t(length)});
            units.skip(size_t(length));
        }
    }
    // libheif 1.15 writes a rotated photo's 'ispe' already turned, so the
    // sides are compared either way round.
    const uint64_t w = roundUp(maxWidth, 64), h = roundUp(maxHeight, 64);
    uint64_t largest = 0;
    for (const HeifLayout::Span& set : sets) {
        if (!HevcSps::isSps(set.data, set.size))
            continue;
        uint32_t width = 0, height = 0;
        if (!HevcSps::pictureSize(set.data, set.size, width, height))
            return false;
        if (!((width <= w && height <= h) || (width <= h && height <= w)))
            return false;
        largest = std::max(largest, uint64_t(width) * height);
    }
    pixels += largest;
    return true;
}

// Walks every HEVC picture a conversion can touch (grid tiles, overlay and
// identity inputs, alpha and other auxiliary images, the thumbnails) and
// adds up the pictures their parameter sets declare. Each is counted once:
// DamageCheck has refused files that would decode one twice.
bool everyPictureFits(const HeifMeta& meta, uint64_t& pixels)
{
    int primaryWidth = 0, primaryHeight = 0;
    readIspe(meta.property(meta.primary, kIspe), primaryWidth, primaryHeight);
    std::set<uint32_t> seen;
    std::vector<uint32_t> pending{meta.primary};
    std::map<uint32_t, std::vector<uint32_t>> auxiliaries; // image -> alpha, depth, gain map...
    for (const HeifMeta::Reference& reference : meta.references) {
        if (reference.type == kThmb && std::count(reference.to.begin(), reference.to.end(), meta.primary))
            pending.push_back(reference.from);
        else if (reference.type == kAuxl)
            for (uint32_t image : reference.to)
                auxiliaries[image].push_back(reference.from);
    }
    while (!pending.empty()) {
        const uint32_t item = pending.back();
        pending.pop_back();
        if (!seen.insert(item).second)
            continue;
        const std::vector<uint32_t>& inputs = meta.referenced(kDimg, item);
        pending.insert(pending.end(), inputs.begin(), inputs.end());
        const auto aux = auxiliaries.find(item);
        if (aux != auxiliaries.end())
            pending.insert(pending.end(), aux->second.begin(), aux->second.end());
        if (meta.itemType(item) != kHvc1)
            continue;
        // An item without its own size is held to the primary image's.
        int width = primaryWidth, height = primaryHeight;
        readIspe(meta.property(item, kIspe), width, height);
        if (width <= 0 || height <= 0)
            width = height = 65535;
        if (!spsFit(meta, item, uint64_t(width), uint64_t(height), pixels))
            return false;
    }
    return true;
}

// Whether every derived image is built from items libheif 1.15 keeps as
// images; anything else makes it assert.
bool derivationsResolve(const HeifMeta& meta)
{
    if (meta.damagedReferences)
        return false;
    auto isImage = [&](uint32_t item) {
        const uint32_t type = meta.itemType(item);
        for (uint32_t known : {kHvc1, kGrid, BoxReader::fourcc("iden"), BoxReader::fourcc("iovl"), kAv01})
            if (type == known)
                return true;
        return false;
    };
    for (const HeifMeta::Reference& reference : meta.references) {
        if (reference.type != kDimg)
            continue;
        for (uint32_t input : reference.to)
            if (!isImage(input) || input == reference.from)
                return false;
    }
    return true;
}

// An AV1 item with no extents, or extents of no bytes, is empty either way.
bool everyAv1ItemHasData(const HeifMeta& meta)
{
    for (const auto& item : meta.itemTypes) {
        if (item.second != kAv01)
            continue;
        const auto location = meta.locations.find(item.first);
        uint64_t bytes = 0;
        if (location != meta.locations.end())
            for (const HeifMeta::Extent& extent : location->second.extents)
                bytes += extent.length;
        if (bytes == 0)
            return false;
    }
    return true;
}

// The HEVC items whose planes make up the primary image: itself, or the
// tiles of its grid. False for anything else.
bool primaryTiles(const HeifMeta& meta, std::vector<uint32_t>& tiles)
{
    const uint32_t type = meta.itemType(meta.primary);
    if (type == kHvc1)
        tiles = {meta.primary};
    else if (type == kGrid)
        tiles = meta.referenced(kDimg, meta.primary);
    return !tiles.empty() && tiles.size() <= size_t(kMaxTiles);
}

// Turns and mirrors of the primary image are done on the planes, in the
// order the file lists them; a crop, or a transform on a single tile, goes
// the libheif way. Phones write an 'irot' of 0 degrees on upright photos;
// that one is a no-op.
bool readTransforms(const HeifMeta& meta, const std::vector<uint32_t>& tiles, HeifLayout& layout)
{
    for (uint32_t item : tiles) {
        if (item != meta.primary
            && (meta.property(item, kImir) || meta.property(item, kClap) || meta.property(item, kIrot)))
            return false;
    }
    if (meta.property(meta.primary, kClap))
        return false;
    const auto associated = meta.associations.find(meta.primary);
    if (associated == meta.associations.end())
        return true;
    for (int index : associated->second) {
        if (index < 1 || size_t(index) > meta.properties.size())
            continue;
        const Property& property = meta.properties[size_t(index) - 1];
        BoxReader body = property.body;
        if (property.type == kIrot) {
            const int quarters = body.u8() & 3;
            if (quarters != 0)
                layout.transforms.push_back(quarters == 1   ? PlaneTransform::Step::RotateLeft
                                            : quarters == 2 ? PlaneTransform::Step::RotateHalf
                                                            : PlaneTransform::Step::RotateRight);
        } else if (property.type == kImir) {
            // The amended standard, iPhones and libheif agree: 0 exchanges
            // top and bottom, 1 left and right (the first edition's wording
            // read the other way).
            layout.transforms.push_back((body.u8() & 1) ? PlaneTransform::Step::MirrorLeftRight
                                                        : PlaneTransform::Step::MirrorTopBottom);
        }
        if (!body.ok())
            return false;
    }
    return true;
}

// The canvas: a grid's descriptor, or the lone tile's size. The tiles must
// cover the canvas, and the last row and column must be needed, or the grid
// is not one this decoder understands.
bool readCanvas(const HeifMeta& meta, size_t tileCount, HeifLayout& layout)
{
    if (meta.itemType(meta.primary) != kGrid) {
        layout.width = layout.tileWidth;
        layout.height = layout.tileHeight;
        return true;
    }
    HeifLayout::Span descriptor;
    if (!meta.itemData(meta.primary, descriptor))
        return false;
    BoxReader grid(descriptor.data, descriptor.size);
    grid.u8();
    const int flags = grid.u8();
    layout.rows = grid.u8() + 1;
    layout.columns = grid.u8() + 1;
    const uint32_t w = (flags & 1) ? grid.u32() : grid.u16();
    const uint32_t h = (flags & 1) ? grid.u32() : grid.u16();
    if (!grid.ok() || w == 0 || h == 0 || w > 65535 || h > 65535)
        return false;
    layout.width = int(w);
    layout.height = int(h);
    return size_t(layout.rows) * size_t(layout.columns) == tileCount
           && int64_t(layout.columns) * layout.tileWidth >= layout.width
           && int64_t(layout.rows) * layout.tileHeight >= layout.height
           && int64_t(layout.columns - 1) * layout.tileWidth < layout.width
           && int64_t(layout.rows - 1) * layout.tileHeight < layout.height;
}

// Every tile an HEVC item in the file, coded like the first one and of the
// first one's size.
bool readTiles(const HeifMeta& meta, const std::vector<uint32_t>& tiles, const HevcConfig& first, HeifLayout& layout)
{
    for (uint32_t tile : tiles) {
        if (meta.itemType(tile) != kHvc1)
            return false;
        HevcConfig config;
        const Property* hvcC = meta.property(tile, kHvcC);
        if (!hvcC || !readHvcC(hvcC->body, config))
            return false;
        int w = 0, h = 0;
        if (config.chromaFormat != first.chromaFormat || config.bitDepthLuma != first.bitDepthLuma
            || config.bitDepthChroma != first.bitDepthChroma || config.nalLengthSize != first.nalLengthSize
            || !readIspe(meta.property(tile, kIspe), w, h) || w != layout.tileWidth || h != layout.tileHeight)
            return false;
        const auto location = meta.locations.find(tile);
        HeifLayout::Tile coded;
        if (location == meta.locations.end() || location->second.method != 0 || !meta.itemData(tile, coded.data))
            return false;
        coded.parameterSets = std::move(config.parameterSets);
        layout.tiles.push_back(std::move(coded));
    }
    layout.nalLengthSize = first.nalLengthSize;
    return true;
}

} // namespace

HeifLayout HeifLayout::read(const HeifMeta& meta)
{
    HeifLayout layout;
    if (!meta.present)
        return layout;
    layout.referencesResolve = derivationsResolve(meta);
    layout.structureSound = everyAv1ItemHasData(meta);
    layout.codedSizesFit = everyPictureFits(meta, layout.codedPixels);

    std::vector<uint32_t> tiles;
    if (!primaryTiles(meta, tiles))
        return layout;
    HevcConfig first;
    const Property* firstHvcC = meta.property(tiles.front(), kHvcC);
    if (!firstHvcC || !readHvcC(firstHvcC->body, first))
        return layout;
    layout.chromaFormat = first.chromaFormat;
    layout.bitDepth = first.bitDepthLuma;
    if (!readTransforms(meta, tiles, layout))
        return layout;
    // Cameras code 10 bits (some 12); the tiles then come out of libde265
    // as 16-bit samples, which TileDecoder scales to 8 bits as it copies.
    if (first.bitDepthLuma < 8 || first.bitDepthLuma > 12 || first.bitDepthChroma != first.bitDepthLuma)
        return layout;
    if (!readIspe(meta.property(tiles.front(), kIspe), layout.tileWidth, layout.tileHeight)
        || !readCanvas(meta, tiles.size(), layout))
        return layout;
    // Chroma planes of subsampled tiles must start on whole chroma samples.
    const bool halfWidth = first.chromaFormat == 1 || first.chromaFormat == 2;
    const bool halfHeight = first.chromaFormat == 1;
    if ((halfWidth && layout.tileWidth % 2) || (halfHeight && layout.tileHeight % 2))
        return layout;
    layout.direct = readTiles(meta, tiles, first, layout);
    return layout;
}

} // namespace decodex

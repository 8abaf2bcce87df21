#include "HeifLayout.h"

#include "BoxReader.h"
#include "HevcSps.h"

#include <algorithm>
#include <map>
#include <set>

namespace decodex {

namespace {

constexpr uint32_t kMeta = BoxReader::fourcc("meta");
constexpr uint32_t kPitm = BoxReader::fourcc("pitm");
constexpr uint32_t kIinf = BoxReader::fourcc("iinf");
constexpr uint32_t kInfe = BoxReader::fourcc("infe");
constexpr uint32_t kIloc = BoxReader::fourcc("iloc");
constexpr uint32_t kIref = BoxReader::fourcc("iref");
constexpr uint32_t kIprp = BoxReader::fourcc("iprp");
constexpr uint32_t kIpco = BoxReader::fourcc("ipco");
constexpr uint32_t kIpma = BoxReader::fourcc("ipma");
constexpr uint32_t kIdat = BoxReader::fourcc("idat");
constexpr uint32_t kDimg = BoxReader::fourcc("dimg");
constexpr uint32_t kAuxl = BoxReader::fourcc("auxl");
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

struct Extent
{
    uint64_t offset = 0;
    uint64_t length = 0;
};

struct Location
{
    int method = 0;
    std::vector<Extent> extents;
};

struct Property
{
    uint32_t type = 0;
    BoxReader body;
};

struct Meta
{
    HeifLayout::Span file;
    uint32_t primary = 0;
    std::map<uint32_t, uint32_t> itemTypes;
    std::map<uint32_t, Location> locations;
    std::map<uint32_t, std::vector<uint32_t>> derived; // dimg: item -> inputs
    std::map<uint32_t, std::vector<uint32_t>> auxiliaries; // auxl: image -> alpha, depth...
    bool damagedReferences = false;
    std::vector<Property> properties;
    std::map<uint32_t, std::vector<int>> associations; // item -> property indexes (1-based)
    HeifLayout::Span idat;
};

void readIinf(BoxReader box, Meta& meta)
{
    const int version = box.u8();
    box.skip(3);
    box.skip(version == 0 ? 2 : 4);
    uint32_t type = 0;
    BoxReader child;
    while (box.nextBox(type, child)) {
        if (type != kInfe)
            continue;
        const int infeVersion = child.u8();
        child.skip(3);
        if (infeVersion < 2)
            continue;
        const uint32_t id = infeVersion == 2 ? child.u16() : child.u32();
        child.skip(2); // protection index
        const uint32_t itemType = child.u32();
        if (child.ok())
            meta.itemTypes[id] = itemType;
    }
}

void readIloc(BoxReader box, Meta& meta)
{
    const int version = box.u8();
    box.skip(3);
    const int sizes = box.u16();
    const int offsetSize = sizes >> 12;
    const int lengthSize = (sizes >> 8) & 15;
    const int baseOffsetSize = (sizes >> 4) & 15;
    const int indexSize = (version == 1 || version == 2) ? (sizes & 15) : 0;
    const uint32_t count = version < 2 ? box.u16() : box.u32();
    for (uint32_t i = 0; i < count && box.ok(); ++i) {
        const uint32_t id = version < 2 ? box.u16() : box.u32();
        Location location;
        if (version == 1 || version == 2)
            location.method = box.u16() & 15;
        box.skip(2); // data reference index
        const uint64_t base = box.uint(baseOffsetSize);
        const int extents = box.u16();
        for (int e = 0; e < extents && box.ok(); ++e) {
            box.uint(indexSize);
            const uint64_t offset = box.uint(offsetSize);
            const uint64_t length = box.uint(lengthSize);
            if (offset > UINT64_MAX - base)
                location.method = -1;
            location.extents.push_back({base + offset, length});
        }
        if (box.ok())
            meta.locations[id] = std::move(location);
    }
}

void readIref(BoxReader box, Meta& meta)
{
    const int version = box.u8();
    box.skip(3);
    uint32_t type = 0;
    BoxReader child;
    while (box.nextBox(type, child)) {
        const uint32_t from = version == 0 ? child.u16() : child.u32();
        const int count = child.u16();
        std::vector<uint32_t> to;
        for (int i = 0; i < count && child.ok(); ++i)
            to.push_back(version == 0 ? child.u16() : child.u32());
        if (!child.ok()) {
            // libheif still takes a cut 'dimg' box, with inputs that are
            // not there, and asserts when it decodes the image.
            if (type == kDimg)
                meta.damagedReferences = true;
            continue;
        }
        if (type == kDimg)
            meta.derived[from] = std::move(to);
        else if (type == kAuxl)
            for (uint32_t image : to)
                meta.auxiliaries[image].push_back(from);
    }
    if (!box.ok())
        meta.damagedReferences = true;
}

void readIprp(BoxReader box, Meta& meta)
{
    uint32_t type = 0;
    BoxReader child;
    while (box.nextBox(type, child)) {
        if (type == kIpco) {
            uint32_t propertyType = 0;
            BoxReader property;
            while (child.nextBox(propertyType, property))
                meta.properties.push_back({propertyType, property});
        } else if (type == kIpma) {
            const int version = child.u8();
            child.skip(2);
            const int flags = child.u8();
            const uint32_t entries = child.u32();
            for (uint32_t i = 0; i < entries && child.ok(); ++i) {
                const uint32_t id = version < 1 ? child.u16() : child.u32();
                const int count = child.u8();
                std::vector<int>& list = meta.associations[id];
                for (int a = 0; a < count && child.ok(); ++a)
                    list.push_back((flags & 1) ? (child.u16() & 0x7fff) : (child.u8() & 0x7f));
            }
        }
    }
}

const Property* findProperty(const Meta& meta, uint32_t item, uint32_t type)
{
    const auto it = meta.associations.find(item);
    if (it == meta.associations.end())
        return nullptr;
    for (int index : it->second) {
        if (index >= 1 && size_t(index) <= meta.properties.size() && meta.properties[size_t(index) - 1].type == type)
            return &meta.properties[size_t(index) - 1];
    }
    return nullptr;
}

// Where an item's extents point: into the file, or into idat.
HeifLayout::Span storeOf(const Meta& meta, const Location& location)
{
    return location.method == 0 ? meta.file : location.method == 1 ? meta.idat : HeifLayout::Span{};
}

bool extentIn(const HeifLayout::Span& store, const Extent& extent, HeifLayout::Span& out)
{
    if (!store.data || extent.length == 0 || extent.offset > store.size || extent.length > store.size - extent.offset)
        return false;
    out = {store.data + extent.offset, size_t(extent.length)};
    return true;
}

// The item's bytes when they sit in one piece in the file or in idat.
bool itemData(const Meta& meta, uint32_t item, HeifLayout::Span& out)
{
    const auto it = meta.locations.find(item);
    return it != meta.locations.end() && it->second.extents.size() == 1
           && extentIn(storeOf(meta, it->second), it->second.extents.front(), out);
}

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

// The item's bytes as the decoder will see them: extents in the file or in
// idat, joined into `scratch` when there are several.
bool itemBytes(const Meta& meta, uint32_t item, std::vector<uint8_t>& scratch, HeifLayout::Span& out)
{
    const auto it = meta.locations.find(item);
    if (it == meta.locations.end() || it->second.extents.empty())
        return false;
    if (it->second.extents.size() == 1)
        return itemData(meta, item, out);
    const HeifLayout::Span store = storeOf(meta, it->second);
    scratch.clear();
    for (const Extent& extent : it->second.extents) {
        HeifLayout::Span piece;
        if (!extentIn(store, extent, piece) || piece.size > store.size - scratch.size())
            return false;
        scratch.insert(scratch.end(), piece.data, piece.data + piece.size);
    }
    out = {scratch.data(), scratch.size()};
    return true;
}

uint64_t roundUp(uint64_t value, uint64_t step) { return (value + step - 1) / step * step; }

// Checks every parameter set the decoder will be given for one HEVC item:
// those in hvcC and any inside the coded data, which replace them. A
// picture may be padded to whole coding blocks, never more.
bool spsFit(const Meta& meta, uint32_t item, uint64_t maxWidth, uint64_t maxHeight, uint64_t& pixels)
{
    HevcConfig config;
    const Property* hvcC = findProperty(meta, item, kHvcC);
    if (!hvcC || !readHvcC(hvcC->body, config))
        return true; // libheif refuses the item before decoding
    std::vector<HeifLayout::Span> sets = config.parameterSets;
    std::vector<uint8_t> scratch;
    HeifLayout::Span data;
    if (itemBytes(meta, item, scratch, data)) {
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

// Walks every HEVC picture decoding the primary image can touch (grid
// tiles, overlay and identity inputs, alpha and other auxiliary images) and
// adds up the pictures their parameter sets declare.
bool everyPictureFits(const Meta& meta, uint64_t& pixels)
{
    int primaryWidth = 0, primaryHeight = 0;
    readIspe(findProperty(meta, meta.primary, kIspe), primaryWidth, primaryHeight);
    std::set<uint32_t> seen;
    std::vector<uint32_t> pending{meta.primary};
    while (!pending.empty()) {
        const uint32_t item = pending.back();
        pending.pop_back();
        if (!seen.insert(item).second)
            continue;
        for (const auto* refs : {&meta.derived, &meta.auxiliaries}) {
            const auto it = refs->find(item);
            if (it != refs->end())
                pending.insert(pending.end(), it->second.begin(), it->second.end());
        }
        const auto type = meta.itemTypes.find(item);
        if (type == meta.itemTypes.end() || type->second != kHvc1)
            continue;
        // An item without its own size is held to the primary image's.
        int width = primaryWidth, height = primaryHeight;
        readIspe(findProperty(meta, item, kIspe), width, height);
        if (width <= 0 || height <= 0)
            width = height = 65535;
        if (!spsFit(meta, item, uint64_t(width), uint64_t(height), pixels))
            return false;
    }
    return true;
}

} // namespace

HeifLayout HeifLayout::read(const uint8_t* data, size_t size)
{
    HeifLayout layout;
    if (!data)
        return layout;
    Meta meta;
    meta.file = {data, size};
    BoxReader file(data, size);
    uint32_t type = 0;
    BoxReader box;
    bool haveMeta = false;
    while (!haveMeta && file.nextBox(type, box)) {
        if (type != kMeta)
            continue;
        haveMeta = true;
        box.skip(4);
        BoxReader child;
        while (box.nextBox(type, child)) {
            if (type == kPitm) {
                const int version = child.u8();
                child.skip(3);
                meta.primary = version == 0 ? child.u16() : child.u32();
            } else if (type == kIinf) {
                readIinf(child, meta);
            } else if (type == kIloc) {
                readIloc(child, meta);
            } else if (type == kIref) {
                readIref(child, meta);
            } else if (type == kIprp) {
                readIprp(child, meta);
            } else if (type == kIdat) {
                meta.idat = {child.current(), child.remaining()};
            }
        }
    }
    if (!haveMeta)
        return layout;

    // The item types libheif 1.15 keeps as images; a derived image built
    // from anything else makes it assert.
    auto isImage = [&](uint32_t item) {
        const auto type = meta.itemTypes.find(item);
        if (type == meta.itemTypes.end())
            return false;
        for (uint32_t known : {kHvc1, kGrid, BoxReader::fourcc("iden"), BoxReader::fourcc("iovl"), kAv01})
            if (type->second == known)
                return true;
        return false;
    };
    layout.referencesResolve = !meta.damagedReferences;
    for (const auto& derived : meta.derived) {
        for (uint32_t input : derived.second) {
            if (!isImage(input) || input == derived.first)
                layout.referencesResolve = false;
        }
    }

    for (const auto& derived : meta.derived) {
        const auto type = meta.itemTypes.find(derived.first);
        if (type != meta.itemTypes.end() && type->second == kGrid
            && std::set<uint32_t>(derived.second.begin(), derived.second.end()).size() != derived.second.size())
            layout.structureSound = false;
    }
    // An item with no extents, or extents of no bytes, is empty either way.
    for (const auto& item : meta.itemTypes) {
        if (item.second != kAv01)
            continue;
        const auto location = meta.locations.find(item.first);
        uint64_t bytes = 0;
        if (location != meta.locations.end())
            for (const Extent& extent : location->second.extents)
                bytes += extent.length;
        if (bytes == 0)
            layout.structureSound = false;
    }

    layout.codedSizesFit = everyPictureFits(meta, layout.codedPixels);

    const auto primaryType = meta.itemTypes.find(meta.primary);
    if (primaryType == meta.itemTypes.end())
        return layout;

    std::vector<uint32_t> tileItems;
    if (primaryType->second == kHvc1) {
        tileItems.push_back(meta.primary);
    } else if (primaryType->second == kGrid) {
        const auto inputs = meta.derived.find(meta.primary);
        if (inputs == meta.derived.end())
            return layout;
        tileItems = inputs->second;
    } else {
        return layout;
    }
    if (tileItems.empty() || tileItems.size() > size_t(kMaxTiles))
        return layout;

    HevcConfig first;
    const Property* firstHvcC = findProperty(meta, tileItems.front(), kHvcC);
    if (!firstHvcC || !readHvcC(firstHvcC->body, first))
        return layout;
    layout.chromaFormat = first.chromaFormat;
    layout.bitDepth = first.bitDepthLuma;

    // Turns and mirrors of the primary image are done on the planes, in the
    // order the file lists them; a crop, or a transform on a single tile,
    // goes the libheif way. Phones write an 'irot' of 0 degrees on upright
    // photos; that one is a no-op.
    for (uint32_t item : tileItems) {
        if (item != meta.primary
            && (findProperty(meta, item, kImir) || findProperty(meta, item, kClap) || findProperty(meta, item, kIrot)))
            return layout;
    }
    if (findProperty(meta, meta.primary, kClap))
        return layout;
    for (int index : meta.associations[meta.primary]) {
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
            return layout;
    }
    // Cameras code 10 bits (some 12); the tiles then come out of libde265
    // as 16-bit samples, which TileDecoder scales to 8 bits as it copies.
    if (first.bitDepthLuma < 8 || first.bitDepthLuma > 12 || first.bitDepthChroma != first.bitDepthLuma)
        return layout;

    if (!readIspe(findProperty(meta, tileItems.front(), kIspe), layout.tileWidth, layout.tileHeight))
        return layout;

    if (primaryType->second == kGrid) {
        Span descriptor;
        if (!itemData(meta, meta.primary, descriptor))
            return layout;
        BoxReader grid(descriptor.data, descriptor.size);
        grid.u8();
        const int flags = grid.u8();
        layout.rows = grid.u8() + 1;
        layout.columns = grid.u8() + 1;
        const uint32_t w = (flags & 1) ? grid.u32() : grid.u16();
        const uint32_t h = (flags & 1) ? grid.u32() : grid.u16();
        if (!grid.ok() || w == 0 || h == 0 || w > 65535 || h > 65535)
            return layout;
        layout.width = int(w);
        layout.height = int(h);
        if (size_t(layout.rows) * size_t(layout.columns) != tileItems.size())
            return layout;
        // The tiles must cover the canvas, and the last row and column must
        // be needed, or the grid is not one this decoder understands.
        if (int64_t(layout.columns) * layout.tileWidth < layout.width
            || int64_t(layout.rows) * layout.tileHeight < layout.height
            || int64_t(layout.columns - 1) * layout.tileWidth >= layout.width
            || int64_t(layout.rows - 1) * layout.tileHeight >= layout.height)
            return layout;
    } else {
        layout.width = layout.tileWidth;
        layout.height = layout.tileHeight;
    }
    // Chroma planes of subsampled tiles must start on whole chroma samples.
    const bool halfWidth = first.chromaFormat == 1 || first.chromaFormat == 2;
    const bool halfHeight = first.chromaFormat == 1;
    if ((halfWidth && layout.tileWidth % 2) || (halfHeight && layout.tileHeight % 2))
        return layout;

    for (uint32_t tile : tileItems) {
        const auto tileType = meta.itemTypes.find(tile);
        if (tileType == meta.itemTypes.end() || tileType->second != kHvc1)
            return layout;
        HevcConfig config;
        const Property* hvcC = findProperty(meta, tile, kHvcC);
        if (!hvcC || !readHvcC(hvcC->body, config))
            return layout;
        int w = 0, h = 0;
        if (config.chromaFormat != first.chromaFormat || config.bitDepthLuma != first.bitDepthLuma
            || config.bitDepthChroma != first.bitDepthChroma
            || config.nalLengthSize != first.nalLengthSize
            || !readIspe(findProperty(meta, tile, kIspe), w, h) || w != layout.tileWidth || h != layout.tileHeight)
            return layout;
        const auto location = meta.locations.find(tile);
        Tile coded;
        if (location == meta.locations.end() || location->second.method != 0 || !itemData(meta, tile, coded.data))
            return layout;
        coded.parameterSets = std::move(config.parameterSets);
        layout.tiles.push_back(std::move(coded));
    }
    layout.nalLengthSize = first.nalLengthSize;
    layout.direct = true;
    return layout;
}

} // namespace decodex

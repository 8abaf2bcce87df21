#include "HeifMeta.h"

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

bool extentIn(const HeifMeta::Span& store, const HeifMeta::Extent& extent, HeifMeta::Span& out)
{
    if (!store.data || extent.length == 0 || extent.offset > store.size || extent.length > store.size - extent.offset)
        return false;
    out = {store.data + extent.offset, size_t(extent.length)};
    return true;
}

} // namespace

HeifMeta HeifMeta::read(const uint8_t* data, size_t size)
{
    HeifMeta meta;
    if (!data)
        return meta;
    meta.file = {data, size};
    BoxReader file(data, size);
    uint32_t type = 0;
    BoxReader box;
    while (file.nextBox(type, box)) {
        if (type == kMeta)
            break;
    }
    if (type != kMeta || !file.ok())
        return meta;
    meta.present = true;
    box.skip(4);
    BoxReader child;
    while (box.nextBox(type, child)) {
        if (type == kPitm) {
            const int version = child.u8();
            child.skip(3);
            meta.primary = version == 0 ? child.u16() : child.u32();
        } else if (type == kIinf) {
            meta.readIinf(child);
        } else if (type == kIloc) {
            meta.readIloc(child);
        } else if (type == kIref) {
            meta.readIref(child);
        } else if (type == kIprp) {
            meta.readIprp(child);
        } else if (type == kIdat) {
            meta.idat = {child.current(), child.remaining()};
        }
    }
    return meta;
}

void HeifMeta::readIinf(BoxReader box)
{
    const int version = box.u8();
    box.skip(3);
    box.skip(version == 0 ? 2 : 4); // the entry count; the boxes themselves tell
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
            itemTypes[id] = itemType;
    }
}

void HeifMeta::readIloc(BoxReader box)
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
            locations[id] = std::move(location);
    }
}

void HeifMeta::readIref(BoxReader box)
{
    const int version = box.u8();
    box.skip(3);
    uint32_t type = 0;
    BoxReader child;
    while (box.nextBox(type, child)) {
        Reference reference;
        reference.type = type;
        reference.from = version == 0 ? child.u16() : child.u32();
        const int count = child.u16();
        for (int i = 0; i < count && child.ok(); ++i)
            reference.to.push_back(version == 0 ? child.u16() : child.u32());
        if (!child.ok()) {
            damagedReferences = damagedReferences || type == BoxReader::fourcc("dimg");
            continue;
        }
        m_firstReference.emplace(std::make_pair(type, reference.from), references.size());
        references.push_back(std::move(reference));
    }
    if (!box.ok())
        damagedReferences = true;
}

void HeifMeta::readIprp(BoxReader box)
{
    uint32_t type = 0;
    BoxReader child;
    while (box.nextBox(type, child)) {
        if (type == kIpco) {
            uint32_t propertyType = 0;
            BoxReader property;
            while (child.nextBox(propertyType, property))
                properties.push_back({propertyType, property});
        } else if (type == kIpma) {
            const int version = child.u8();
            child.skip(2);
            const int flags = child.u8();
            const uint32_t entries = child.u32();
            for (uint32_t i = 0; i < entries && child.ok(); ++i) {
                const uint32_t id = version < 1 ? child.u16() : child.u32();
                const int count = child.u8();
                std::vector<int>& list = associations[id];
                for (int a = 0; a < count && child.ok(); ++a)
                    list.push_back((flags & 1) ? (child.u16() & 0x7fff) : (child.u8() & 0x7f));
            }
        }
    }
}

uint32_t HeifMeta::itemType(uint32_t item) const
{
    const auto it = itemTypes.find(item);
    return it == itemTypes.end() ? 0 : it->second;
}

const std::vector<uint32_t>& HeifMeta::referenced(uint32_t type, uint32_t from) const
{
    static const std::vector<uint32_t> none;
    const auto it = m_firstReference.find({type, from});
    return it == m_firstReference.end() ? none : references[it->second].to;
}

const HeifMeta::Property* HeifMeta::property(uint32_t item, uint32_t type) const
{
    const auto it = associations.find(item);
    if (it == associations.end())
        return nullptr;
    for (int index : it->second) {
        if (index >= 1 && size_t(index) <= properties.size() && properties[size_t(index) - 1].type == type)
            return &properties[size_t(index) - 1];
    }
    return nullptr;
}

HeifMeta::Span HeifMeta::storeOf(const Location& location) const
{
    return location.method == 0 ? file : location.method == 1 ? idat : Span{};
}

bool HeifMeta::itemData(uint32_t item, Span& out) const
{
    const auto it = locations.find(item);
    return it != locations.end() && it->second.extents.size() == 1
           && extentIn(storeOf(it->second), it->second.extents.front(), out);
}

bool HeifMeta::itemBytes(uint32_t item, std::vector<uint8_t>& scratch, Span& out, size_t limit) const
{
    const auto it = locations.find(item);
    if (it == locations.end() || it->second.extents.empty())
        return false;
    if (it->second.extents.size() == 1)
        return itemData(item, out) && out.size <= limit;
    const Span store = storeOf(it->second);
    scratch.clear();
    for (const Extent& extent : it->second.extents) {
        Span piece;
        if (!extentIn(store, extent, piece) || piece.size > limit - scratch.size())
            return false;
        scratch.insert(scratch.end(), piece.data, piece.data + piece.size);
    }
    out = {scratch.data(), scratch.size()};
    return true;
}

bool HeifMeta::extentsInside() const
{
    for (const auto& item : locations) {
        const Location& location = item.second;
        if (location.method < 0)
            return false;
        if (location.method > 1)
            continue; // in another item; libheif checks those itself
        const Span store = storeOf(location);
        for (const Extent& extent : location.extents) {
            if (extent.offset > store.size || extent.length > store.size - extent.offset)
                return false;
        }
    }
    return true;
}

} // namespace decodex

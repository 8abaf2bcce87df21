#pragma once

#include "BoxReader.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace decodex {

// The file's 'meta' box as it is written: the items ('iinf'), where their
// bytes are ('iloc', 'idat'), how they refer to each other ('iref', every
// type) and their properties ('ipco', 'ipma'). The one reader of these
// boxes: the direct tile path (HeifLayout), the checks run before libheif
// sees a file (ItemGraph) and the tone-map item (ToneMapItem) all ask it.
// Every offset is checked against the bytes it was given; nothing here
// allocates more than the boxes themselves describe.
class HeifMeta
{
public:
    struct Span
    {
        const uint8_t* data = nullptr;
        size_t size = 0;
    };

    struct Extent
    {
        uint64_t offset = 0;
        uint64_t length = 0; // 0: to the end of the store
    };

    struct Location
    {
        int method = 0; // 0 in the file, 1 in 'idat'; -1 when the offsets overflow
        std::vector<Extent> extents;
    };

    struct Property
    {
        uint32_t type = 0;
        BoxReader body;
    };

    struct Reference
    {
        uint32_t type = 0;
        uint32_t from = 0;
        std::vector<uint32_t> to;
    };

    // Reads the first 'meta' box at the top level of [data, data + size).
    static HeifMeta read(const uint8_t* data, size_t size);

    bool present = false; // a 'meta' box was found
    uint32_t primary = 0;
    std::map<uint32_t, uint32_t> itemTypes;
    std::map<uint32_t, Location> locations;
    std::vector<Reference> references; // every 'iref' entry, in file order
    // A cut 'dimg' entry or 'iref' box. libheif still takes a cut 'dimg'
    // box, with inputs that are not there, and asserts when it decodes the
    // image.
    bool damagedReferences = false;
    std::vector<Property> properties;
    std::map<uint32_t, std::vector<int>> associations; // item -> property indexes (1-based)
    Span file;
    Span idat;

    // 0 when the item is not listed.
    uint32_t itemType(uint32_t item) const;
    // The items `from` refers to with its first entry of `type` (the one
    // libheif takes); empty when it has none.
    const std::vector<uint32_t>& referenced(uint32_t type, uint32_t from) const;
    // The first property of `type` associated with the item, or null.
    const Property* property(uint32_t item, uint32_t type) const;

    // The item's bytes when they sit in one piece in the file or in 'idat'.
    bool itemData(uint32_t item, Span& out) const;
    // The item's bytes joined into `scratch` when there are several extents;
    // false when they do not fit their store or add up to more than `limit`.
    bool itemBytes(uint32_t item, std::vector<uint8_t>& scratch, Span& out, size_t limit = SIZE_MAX) const;
    // False when an extent of an item lies outside the bytes it points into
    // (a cut file, or a length no file has).
    bool extentsInside() const;

private:
    void readIinf(BoxReader box);
    void readIloc(BoxReader box);
    void readIref(BoxReader box);
    void readIprp(BoxReader box);
    Span storeOf(const Location& location) const;

    std::map<std::pair<uint32_t, uint32_t>, size_t> m_firstReference; // (type, from) -> index
};

} // namespace decodex

#include "GainMapJpeg.h"

#include "GainMap.h"
#include "JpegWriter.h"
#include "PlanarImage.h"
#include "Resampler.h"
#include "ToneMapItem.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <locale>
#include <sstream>
#include <string>

namespace decodex {

namespace {

const char kXmpNamespace[] = "http://ns.adobe.com/xap/1.0/"; // with its NUL
const char kIsoNamespace[] = "urn:iso:std:iso:ts:21496:-1";  // with its NUL
constexpr size_t kMaxSegment = 65533;
constexpr size_t kMpfTiffSize = 82; // header, a three-entry IFD, two MP entries
constexpr size_t kMpfSegmentSize = 4 + 4 + kMpfTiffSize;

const char kPacketStart[] = "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>"
                            "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">"
                            "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">";
const char kPacketEnd[] = "</rdf:RDF></x:xmpmeta><?xpacket end=\"w\"?>";
const char kRdfEnd[] = "</rdf:RDF>";

std::string packet(const std::string& description)
{
    return kPacketStart + description + kPacketEnd;
}

std::string directory(size_t gainMapLength)
{
    return "<rdf:Description rdf:about=\"\""
           " xmlns:hdrgm=\"http://ns.adobe.com/hdr-gain-map/1.0/\""
           " xmlns:Container=\"http://ns.google.com/photos/1.0/container/\""
           " xmlns:Item=\"http://ns.google.com/photos/1.0/container/item/\""
           " hdrgm:Version=\"1.0\">"
           "<Container:Directory><rdf:Seq>"
           "<rdf:li rdf:parseType=\"Resource\">"
           "<Container:Item Item:Semantic=\"Primary\" Item:Mime=\"image/jpeg\"/></rdf:li>"
           "<rdf:li rdf:parseType=\"Resource\">"
           "<Container:Item Item:Semantic=\"GainMap\" Item:Mime=\"image/jpeg\" Item:Length=\""
           + std::to_string(gainMapLength)
           + "\"/></rdf:li>"
             "</rdf:Seq></Container:Directory></rdf:Description>";
}

void put16(uint8_t* p, uint32_t v)
{
    p[0] = uint8_t(v >> 8);
    p[1] = uint8_t(v);
}

void put32(uint8_t* p, uint32_t v)
{
    put16(p, v >> 16);
    put16(p + 2, v);
}

// APP2 "MPF\0" with a big-endian index of the two images. Offsets count
// from the index's TIFF header; the first image's is 0 by definition.
std::vector<uint8_t> mpfSegment(uint32_t primarySize, uint32_t gainMapSize, uint32_t gainMapOffset)
{
    std::vector<uint8_t> s(kMpfSegmentSize, 0);
    uint8_t* p = s.data();
    p[0] = 0xFF;
    p[1] = 0xE2;
    put16(p + 2, uint32_t(kMpfSegmentSize - 2));
    std::memcpy(p + 4, "MPF", 4);
    uint8_t* t = p + 8;
    std::memcpy(t, "MM\0\x2A", 4);
    put32(t + 4, 8);
    put16(t + 8, 3);
    const struct { uint16_t tag, type; uint32_t count, value; } entries[3] = {
        {0xB000, 7, 4, 0x30313030},        // MPFVersion "0100"
        {0xB001, 4, 1, 2},                 // NumberOfImages
        {0xB002, 7, 32, 8 + 2 + 36 + 4},  // MPEntry, right after the IFD
    };
    for (int i = 0; i < 3; ++i) {
        uint8_t* e = t + 10 + 12 * i;
        put16(e, entries[i].tag);
        put16(e + 2, entries[i].type);
        put32(e + 4, entries[i].count);
        put32(e + 8, entries[i].value);
    }
    uint8_t* mp = t + 50;
    put32(mp, 0x030000); // baseline primary image
    put32(mp + 4, primarySize);
    put32(mp + 16, 0);
    put32(mp + 20, gainMapSize);
    put32(mp + 24, gainMapOffset);
    return s;
}

// APP2 with the ISO 21496-1 name and `body`: on the photo, the four bytes
// of the standard's versions, which say a gain map follows; on the map,
// its metadata.
std::vector<uint8_t> isoSegment(const std::vector<uint8_t>& body)
{
    std::vector<uint8_t> s{0xFF, 0xE2, 0, 0};
    put16(s.data() + 2, uint32_t(2 + sizeof kIsoNamespace + body.size()));
    s.insert(s.end(), kIsoNamespace, kIsoNamespace + sizeof kIsoNamespace);
    s.insert(s.end(), body.begin(), body.end());
    return s;
}

std::string number(double value)
{
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out.precision(6);
    out << (std::fabs(value) < 1e-9 ? 0.0 : value);
    return out.str();
}

} // namespace

std::vector<uint8_t> GainMapJpeg::gainMapXmp(const GainMapParameters& p)
{
    const std::string description =
        "<rdf:Description rdf:about=\"\" xmlns:hdrgm=\"http://ns.adobe.com/hdr-gain-map/1.0/\""
        " hdrgm:Version=\"1.0\" hdrgm:GainMapMin=\"" + number(p.gainMapMin)
        + "\" hdrgm:GainMapMax=\"" + number(p.gainMapMax) + "\" hdrgm:Gamma=\"" + number(p.gamma)
        + "\" hdrgm:OffsetSDR=\"" + number(p.offsetSdr) + "\" hdrgm:OffsetHDR=\"" + number(p.offsetHdr)
        + "\" hdrgm:HDRCapacityMin=\"" + number(p.hdrCapacityMin) + "\" hdrgm:HDRCapacityMax=\""
        + number(p.hdrCapacityMax) + "\" hdrgm:BaseRenditionIsHDR=\"" + (p.baseRenditionIsHdr ? "True" : "False")
        + "\"/>";
    const std::string xmp = packet(description);
    return std::vector<uint8_t>(xmp.begin(), xmp.end());
}

size_t GainMapJpeg::assemble(uint8_t* output, size_t capacity, size_t primarySize,
                             const std::vector<uint8_t>& gainMapJpeg)
{
    if (primarySize < 4 || output[0] != 0xFF || output[1] != 0xD8) {
        GainMap::log("gain map left out: the photo's JPEG does not start as one");
        return 0;
    }
    // The APPn segments at the head of the file: the photo's XMP, and where
    // a new one would go (after the JFIF and EXIF segments).
    size_t pos = 2, xmpStart = 0, xmpEnd = 0, insertAt = 2;
    while (pos + 4 <= primarySize && output[pos] == 0xFF && output[pos + 1] >= 0xE0 && output[pos + 1] <= 0xEF) {
        const size_t end = pos + 2 + (size_t(output[pos + 2]) << 8 | output[pos + 3]);
        if (end > primarySize) {
            GainMap::log("gain map left out: a segment of the photo's JPEG runs past its end");
            return 0;
        }
        if (output[pos + 1] == 0xE1 && end - pos - 4 >= sizeof kXmpNamespace
            && std::memcmp(output + pos + 4, kXmpNamespace, sizeof kXmpNamespace) == 0) {
            xmpStart = pos;
            xmpEnd = end;
        }
        if (output[pos + 1] <= 0xE1)
            insertAt = end;
        pos = end;
    }
    std::string xmp;
    if (xmpEnd) {
        const char* packetStart = reinterpret_cast<const char*>(output + xmpStart + 4 + sizeof kXmpNamespace);
        xmp.assign(packetStart, xmpEnd - xmpStart - 4 - sizeof kXmpNamespace);
        const size_t rdfEnd = xmp.rfind(kRdfEnd);
        if (rdfEnd == std::string::npos) {
            GainMap::log("gain map left out: the photo's XMP has no rdf:RDF element to take the directory");
            return 0;
        }
        xmp.insert(rdfEnd, directory(gainMapJpeg.size()));
    } else {
        xmp = packet(directory(gainMapJpeg.size()));
        xmpStart = xmpEnd = insertAt;
    }
    if (xmp.size() + sizeof kXmpNamespace > kMaxSegment) {
        GainMap::log("gain map left out: the photo's XMP would outgrow its segment");
        return 0;
    }
    // The XMP with the directory, the ISO 21496-1 version, the MPF index.
    std::vector<uint8_t> segments{0xFF, 0xE1, 0, 0};
    put16(segments.data() + 2, uint32_t(2 + sizeof kXmpNamespace + xmp.size()));
    segments.insert(segments.end(), kXmpNamespace, kXmpNamespace + sizeof kXmpNamespace);
    segments.insert(segments.end(), xmp.begin(), xmp.end());
    const std::vector<uint8_t> version = isoSegment({0, 0, 0, 0});
    segments.insert(segments.end(), version.begin(), version.end());
    const size_t mpfTiff = xmpStart + segments.size() + 8;

    const size_t newPrimary = primarySize - (xmpEnd - xmpStart) + segments.size() + kMpfSegmentSize;
    if (newPrimary + gainMapJpeg.size() > capacity || newPrimary + gainMapJpeg.size() > size_t(INT32_MAX)) {
        GainMap::log("gain map left out: it does not fit the output buffer");
        return 0;
    }
    const std::vector<uint8_t> mpf =
        mpfSegment(uint32_t(newPrimary), uint32_t(gainMapJpeg.size()), uint32_t(newPrimary - mpfTiff));
    segments.insert(segments.end(), mpf.begin(), mpf.end());
    std::memmove(output + xmpStart + segments.size(), output + xmpEnd, primarySize - xmpEnd);
    std::memcpy(output + xmpStart, segments.data(), segments.size());
    std::memcpy(output + newPrimary, gainMapJpeg.data(), gainMapJpeg.size());
    return newPrimary + gainMapJpeg.size();
}

int32_t GainMapJpeg::attach(int32_t primarySize, const GainMap& gainMap, const std::vector<PlaneTransform::Step>& steps,
                            int photoWidth, int photoHeight, int quality, uint8_t* output, size_t capacity,
                            double shrink)
{
    if (primarySize <= 0 || !gainMap.present())
        return primarySize;
    PlanarImage plane;
    if (!gainMap.decode(steps, plane))
        return primarySize;
    // A map that does not have the photo's shape after the turns would
    // brighten the wrong places.
    const double across = double(plane.width()) / photoWidth, down = double(plane.height()) / photoHeight;
    if (std::fabs(across - down) > 0.05 * std::max(across, down)) {
        GainMap::log("gain map left out: %dx%d does not line up with the %dx%d photo", plane.width(), plane.height(),
                     photoWidth, photoHeight);
        return primarySize;
    }
    if (shrink < 1.0
        && !Resampler::shrink(plane, std::max(1, int(std::lround(plane.width() * shrink))),
                              std::max(1, int(std::lround(plane.height() * shrink))))) {
        GainMap::log("gain map left out: no memory to shrink it with the photo");
        return primarySize;
    }
    JpegMetadata metadata;
    metadata.xmp = gainMapXmp(gainMap.parameters());
    std::vector<uint8_t> jpeg(size_t((plane.width() + 15) & ~15) * size_t((plane.height() + 15) & ~15) * 3 + 8192
                              + metadata.xmp.size());
    const int32_t size = JpegWriter(jpeg.data(), jpeg.size()).writePlanar(plane, quality, metadata);
    if (size <= 0) {
        GainMap::log("gain map left out: its JPEG could not be written");
        return primarySize;
    }
    jpeg.resize(size_t(size));
    // The same values in the standard's binary form, after the XMP, where
    // readers of either form look.
    size_t afterApp = 2;
    while (afterApp + 4 <= jpeg.size() && jpeg[afterApp] == 0xFF && jpeg[afterApp + 1] >= 0xE0
           && jpeg[afterApp + 1] <= 0xEF)
        afterApp += 2 + (size_t(jpeg[afterApp + 2]) << 8 | jpeg[afterApp + 3]);
    const std::vector<uint8_t> iso = isoSegment(ToneMapItem::serialize(gainMap.parameters()));
    jpeg.insert(jpeg.begin() + std::ptrdiff_t(std::min(afterApp, jpeg.size())), iso.begin(), iso.end());
    const size_t total = assemble(output, capacity, size_t(primarySize), jpeg);
    return total ? int32_t(total) : primarySize;
}

} // namespace decodex

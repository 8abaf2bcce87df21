#include "XmpEditor.h"

#include <cstring>
#include <string>

namespace decodex {

namespace {

const char kContainerNamespace[] = "http://ns.google.com/photos/1.0/container/";
const char kHdrgmNamespace[] = "http://ns.adobe.com/hdr-gain-map/1.0/";
const char kExifNamespace[] = "http://ns.adobe.com/exif/1.0/";
// The GPS properties of the EXIF schema for XMP (CIPA DC-010).
const char* const kGpsProperties[] = {
    "GPSVersionID", "GPSLatitude", "GPSLongitude", "GPSAltitudeRef", "GPSAltitude", "GPSTimeStamp",
    "GPSSatellites", "GPSStatus", "GPSMeasureMode", "GPSDOP", "GPSSpeedRef", "GPSSpeed", "GPSTrackRef",
    "GPSTrack", "GPSImgDirectionRef", "GPSImgDirection", "GPSMapDatum", "GPSDestLatitude", "GPSDestLongitude",
    "GPSDestBearingRef", "GPSDestBearing", "GPSDestDistanceRef", "GPSDestDistance", "GPSProcessingMethod",
    "GPSAreaInformation", "GPSDifferential", "GPSHPositioningError"};
constexpr size_t kMaxPacket = 65535;

bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// The prefixes the packet binds to `uri` (xmlns:prefix="uri").
std::vector<std::string> prefixesOf(const std::string& xmp, const char* uri)
{
    std::vector<std::string> prefixes;
    const size_t uriLength = std::strlen(uri);
    for (size_t at = xmp.find(uri); at != std::string::npos; at = xmp.find(uri, at + uriLength)) {
        if (at < 2 || (xmp[at - 1] != '"' && xmp[at - 1] != '\''))
            continue;
        size_t equals = at - 1;
        while (equals > 0 && isSpace(xmp[equals - 1]))
            --equals;
        if (equals == 0 || xmp[--equals] != '=')
            continue;
        while (equals > 0 && isSpace(xmp[equals - 1]))
            --equals;
        const size_t colon = xmp.rfind(':', equals);
        if (colon == std::string::npos || colon < 5 || xmp.compare(colon - 5, 5, "xmlns") != 0)
            continue;
        const std::string prefix = xmp.substr(colon + 1, equals - colon - 1);
        if (!prefix.empty() && prefix.find_first_of(" \t\r\n\"'=<>/") == std::string::npos)
            prefixes.push_back(prefix);
    }
    return prefixes;
}

// Removes every element <name ...>...</name> or <name .../>; an element
// whose end is missing is left alone rather than cut blindly.
void removeElements(std::string& xmp, const std::string& name)
{
    const std::string open = "<" + name, close = "</" + name + ">";
    size_t at = 0;
    while ((at = xmp.find(open, at)) != std::string::npos) {
        const size_t after = at + open.size();
        const size_t tagEnd = xmp.find('>', after);
        if (after >= xmp.size() || !(isSpace(xmp[after]) || xmp[after] == '>' || xmp[after] == '/')
            || tagEnd == std::string::npos) {
            at = after;
            continue;
        }
        const size_t end = xmp[tagEnd - 1] == '/' ? tagEnd + 1 : xmp.find(close, tagEnd);
        if (end == std::string::npos)
            return;
        xmp.erase(at, (xmp[tagEnd - 1] == '/' ? end : end + close.size()) - at);
    }
}

// Removes every attribute name="..." together with the space before it.
void removeAttributes(std::string& xmp, const std::string& name)
{
    size_t at = 0;
    while ((at = xmp.find(name, at)) != std::string::npos) {
        size_t quote = at + name.size();
        while (quote < xmp.size() && isSpace(xmp[quote]))
            ++quote;
        if (at == 0 || !isSpace(xmp[at - 1]) || quote >= xmp.size() || xmp[quote] != '=') {
            at += name.size();
            continue;
        }
        ++quote;
        while (quote < xmp.size() && isSpace(xmp[quote]))
            ++quote;
        const size_t end = quote < xmp.size() ? xmp.find(xmp[quote], quote + 1) : std::string::npos;
        if (end == std::string::npos || (xmp[quote] != '"' && xmp[quote] != '\''))
            return;
        xmp.erase(at - 1, end + 2 - at);
        at -= 1;
    }
}

} // namespace

void XmpEditor::forJpeg(std::vector<uint8_t>& xmp)
{
    while (!xmp.empty() && xmp.back() == 0)
        xmp.pop_back();
    // A packet beyond one APP1 segment does not reach the JPEG at all; the
    // bound also keeps the cuts below, each of which moves the rest of the
    // packet, from growing with the square of a hostile item's size.
    if (xmp.size() > kMaxPacket)
        return;
    std::string text(xmp.begin(), xmp.end());
    const std::vector<std::string> containers = prefixesOf(text, kContainerNamespace);
    const std::vector<std::string> gainMaps = prefixesOf(text, kHdrgmNamespace);
    if (containers.empty() && gainMaps.empty())
        return;
    for (const std::string& prefix : containers)
        removeElements(text, prefix + ":Directory");
    for (const std::string& prefix : gainMaps) {
        removeAttributes(text, prefix + ":Version");
        removeElements(text, prefix + ":Version");
    }
    xmp.assign(text.begin(), text.end());
}

void XmpEditor::dropLocation(std::vector<uint8_t>& xmp)
{
    if (xmp.size() > kMaxPacket)
        return;
    std::string text(xmp.begin(), xmp.end());
    const std::vector<std::string> prefixes = prefixesOf(text, kExifNamespace);
    if (prefixes.empty())
        return;
    for (const std::string& prefix : prefixes)
        for (const char* property : kGpsProperties) {
            removeAttributes(text, prefix + ":" + property);
            removeElements(text, prefix + ":" + property);
        }
    xmp.assign(text.begin(), text.end());
}

} // namespace decodex

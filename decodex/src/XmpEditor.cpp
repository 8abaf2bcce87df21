#include "XmpEditor.h"

#include <algorithm>
#include <cctype>
#include <string>

namespace decodex {

namespace {

const std::string kPrefix = "exif:GPS";

bool isNameChar(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '-' || c == '.';
}

// [start, end) of the attribute or element whose name starts at `at`, or
// false when the text there is neither (a mention inside a value).
bool extent(const std::string& text, size_t at, size_t* start, size_t* end)
{
    size_t nameEnd = at + kPrefix.size();
    while (nameEnd < text.size() && isNameChar(text[nameEnd]))
        ++nameEnd;
    const std::string name = text.substr(at, nameEnd - at);
    if (at > 0 && text[at - 1] == '<') {
        const size_t tagEnd = text.find('>', nameEnd);
        if (tagEnd == std::string::npos)
            return false;
        *start = at - 1;
        if (text[tagEnd - 1] == '/') {
            *end = tagEnd + 1;
            return true;
        }
        const size_t close = text.find("</" + name + ">", tagEnd);
        if (close == std::string::npos)
            return false;
        *end = close + name.size() + 3;
        return true;
    }
    if (at == 0 || !std::isspace(static_cast<unsigned char>(text[at - 1])))
        return false;
    size_t eq = nameEnd;
    while (eq < text.size() && std::isspace(static_cast<unsigned char>(text[eq])))
        ++eq;
    if (eq >= text.size() || text[eq] != '=')
        return false;
    size_t quote = eq + 1;
    while (quote < text.size() && std::isspace(static_cast<unsigned char>(text[quote])))
        ++quote;
    if (quote >= text.size() || (text[quote] != '"' && text[quote] != '\''))
        return false;
    const size_t closing = text.find(text[quote], quote + 1);
    if (closing == std::string::npos)
        return false;
    *start = at - 1;
    *end = closing + 1;
    return true;
}

} // namespace

int XmpEditor::dropLocation(std::vector<uint8_t>& packet)
{
    std::string text(packet.begin(), packet.end());
    int removed = 0;
    size_t from = 0;
    for (size_t at; (at = text.find(kPrefix, from)) != std::string::npos;) {
        size_t start = 0, end = 0;
        if (extent(text, at, &start, &end)) {
            text.erase(start, end - start);
            from = start;
            ++removed;
        } else {
            from = at + kPrefix.size();
        }
    }
    if (removed)
        packet.assign(text.begin(), text.end());
    return removed;
}

} // namespace decodex

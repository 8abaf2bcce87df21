#include "ByteSafeUtf8Codec.h"

namespace {

constexpr uint kEscapeBase = 0xDC00; // byte b (0x80..0xFF) becomes U+DC00 + b

void append(QString& out, uint codePoint)
{
    if (codePoint > 0xFFFF) {
        out += QChar(QChar::highSurrogate(codePoint));
        out += QChar(QChar::lowSurrogate(codePoint));
    } else {
        out += QChar(ushort(codePoint));
    }
}

void encode(QByteArray& out, uint c)
{
    if (c < 0x80) {
        out += char(c);
    } else if (c < 0x800) {
        out += char(0xC0 | (c >> 6));
        out += char(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += char(0xE0 | (c >> 12));
        out += char(0x80 | ((c >> 6) & 0x3F));
        out += char(0x80 | (c & 0x3F));
    } else {
        out += char(0xF0 | (c >> 18));
        out += char(0x80 | ((c >> 12) & 0x3F));
        out += char(0x80 | ((c >> 6) & 0x3F));
        out += char(0x80 | (c & 0x3F));
    }
}

} // namespace

void ByteSafeUtf8Codec::install()
{
    // QTextCodec's constructor registers the codec; Qt owns it from then on.
    QTextCodec::setCodecForLocale(new ByteSafeUtf8Codec);
}

QByteArray ByteSafeUtf8Codec::name() const
{
    return QByteArrayLiteral("UTF-8-bytesafe");
}

int ByteSafeUtf8Codec::mibEnum() const
{
    return 2999; // private use: nothing looks this codec up by number
}

QString ByteSafeUtf8Codec::convertToUnicode(const char* in, int length, ConverterState* state) const
{
    // A sequence cut by the end of a chunk waits in the state for the rest.
    QByteArray bytes;
    if (state && state->remainingChars > 0) {
        for (int i = 0; i < state->remainingChars; ++i)
            bytes += char(state->state_data[i]);
        state->remainingChars = 0;
    }
    bytes.append(in, length);
    const auto* p = reinterpret_cast<const uchar*>(bytes.constData());
    const int n = bytes.size();

    QString out;
    out.reserve(n);
    int i = 0;
    while (i < n) {
        const uchar lead = p[i];
        if (lead < 0x80) {
            out += QChar(lead);
            ++i;
            continue;
        }
        int need = 0;
        uint codePoint = 0;
        uint smallest = 0;
        if (lead >= 0xC2 && lead <= 0xDF) {
            need = 1, codePoint = lead & 0x1F, smallest = 0x80;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            need = 2, codePoint = lead & 0x0F, smallest = 0x800;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            need = 3, codePoint = lead & 0x07, smallest = 0x10000;
        }
        int have = 0;
        while (have < need && i + 1 + have < n && (p[i + 1 + have] & 0xC0) == 0x80) {
            codePoint = (codePoint << 6) | (p[i + 1 + have] & 0x3F);
            ++have;
        }
        if (need > 0 && have < need && i + 1 + have == n && state) {
            state->remainingChars = n - i;
            for (int k = 0; k < state->remainingChars; ++k)
                state->state_data[k] = p[i + k];
            break;
        }
        const bool valid = need > 0 && have == need && codePoint >= smallest && codePoint <= 0x10FFFF
            && !(codePoint >= 0xD800 && codePoint <= 0xDFFF);
        if (valid) {
            append(out, codePoint);
            i += need + 1;
        } else {
            out += QChar(ushort(kEscapeBase + lead));
            ++i;
        }
    }
    return out;
}

QByteArray ByteSafeUtf8Codec::convertFromUnicode(const QChar* in, int length, ConverterState* state) const
{
    QByteArray out;
    out.reserve(length);
    ushort pendingHigh = 0;
    if (state && state->remainingChars > 0) {
        pendingHigh = ushort(state->state_data[0]);
        state->remainingChars = 0;
    }
    auto next = [&](int at) -> ushort { return at < 0 ? pendingHigh : in[at].unicode(); };
    int at = pendingHigh ? -1 : 0;
    while (at < length) {
        const ushort c = next(at);
        if (QChar::isHighSurrogate(c)) {
            if (at + 1 < length && QChar::isLowSurrogate(in[at + 1].unicode())) {
                encode(out, QChar::surrogateToUcs4(c, in[at + 1].unicode()));
                at += 2;
                continue;
            }
            if (at + 1 == length && state) {
                state->remainingChars = 1;
                state->state_data[0] = c;
                break;
            }
            out += '?';
        } else if (c >= kEscapeBase + 0x80 && c <= kEscapeBase + 0xFF) {
            out += char(c - kEscapeBase);
        } else if (QChar::isLowSurrogate(c)) {
            out += '?';
        } else {
            encode(out, c);
        }
        ++at;
    }
    return out;
}

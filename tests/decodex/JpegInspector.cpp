#include "JpegInspector.h"

#include <QMap>

JpegInspector::JpegInspector(const QByteArray& jpeg)
{
    const auto* d = reinterpret_cast<const uchar*>(jpeg.constData());
    const int n = jpeg.size();
    if (n < 4 || d[0] != 0xFF || d[1] != 0xD8)
        return;
    int pos = 2;
    while (pos + 4 <= n) {
        if (d[pos] != 0xFF)
            return;
        const int marker = d[pos + 1];
        const int length = (d[pos + 2] << 8) | d[pos + 3];
        if (length < 2 || pos + 2 + length > n)
            return;
        const QByteArray payload = jpeg.mid(pos + 4, length - 2);
        m_segments.append({marker, payload});
        if (marker == 0xC0 || marker == 0xC1 || marker == 0xC2) {
            m_baseline = marker == 0xC0;
            const int components = uchar(payload[5]);
            for (int c = 0; c < components && 6 + c * 3 + 1 < payload.size(); ++c)
                m_sampling.append(uchar(payload[6 + c * 3 + 1]));
        }
        if (marker == 0xDA) {
            m_valid = jpeg.endsWith(QByteArray("\xFF\xD9", 2));
            return;
        }
        pos += 2 + length;
    }
}

QList<QByteArray> JpegInspector::segments(int marker) const
{
    QList<QByteArray> out;
    for (const Segment& s : m_segments) {
        if (s.marker == marker)
            out.append(s.payload);
    }
    return out;
}

QByteArray JpegInspector::exifTiff() const
{
    for (const QByteArray& s : segments(0xE1)) {
        if (s.startsWith(QByteArray("Exif\0\0", 6)))
            return s.mid(6);
    }
    return {};
}

QByteArray JpegInspector::iccProfile() const
{
    QMap<int, QByteArray> chunks;
    int count = 0;
    for (const QByteArray& s : segments(0xE2)) {
        if (!s.startsWith(QByteArray("ICC_PROFILE\0", 12)) || s.size() < 14)
            continue;
        chunks.insert(uchar(s[12]), s.mid(14));
        count = uchar(s[13]);
    }
    if (chunks.size() != count)
        return {};
    QByteArray profile;
    for (const QByteArray& c : chunks)
        profile += c;
    return profile;
}

#pragma once

#include <QByteArray>
#include <QList>

// Reads the marker segments of a JPEG file, independently of the library
// under test, so the tests check what a JPEG reader would actually find.
class JpegInspector
{
public:
    explicit JpegInspector(const QByteArray& jpeg);

    bool valid() const { return m_valid; }
    // Payloads of every APPn segment with this marker number (0xE1 ...).
    QList<QByteArray> segments(int marker) const;
    // "Exif\0\0" payload without its header, or empty.
    QByteArray exifTiff() const;
    // The ICC profile reassembled from its ICC_PROFILE chunks.
    QByteArray iccProfile() const;
    // Sampling factors of the frame header: per component (h << 4 | v).
    QList<int> sampling() const { return m_sampling; }
    bool baseline() const { return m_baseline; }

private:
    struct Segment
    {
        int marker;
        QByteArray payload;
    };
    QList<Segment> m_segments;
    QList<int> m_sampling;
    bool m_valid = false;
    bool m_baseline = false;
};

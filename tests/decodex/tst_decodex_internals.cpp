// The library's internal rules that the public interface cannot reach
// cheaply: the EXIF walk on malformed blocks, the thread share and the
// rounding to 8 bits.
#include "ColorProfile.h"
#include "ExifEditor.h"
#include "HeifLayout.h"
#include "RgbConverter.h"
#include "ThreadBudget.h"

#include <QtEndian>
#include <QtTest>

using decodex::ExifEditor;

namespace {

// A TIFF block with IFD0 = {Orientation, (thumbnail pointer via next IFD)}
// in either byte order.
QByteArray tiffWithOrientation(bool bigEndian, int orientation, int thumbnailBytes = 0)
{
    QByteArray b(bigEndian ? QByteArray("MM\0*", 4) : QByteArray("II*\0", 4));
    auto u16 = [&](quint16 v) { char d[2]; bigEndian ? qToBigEndian(v, d) : qToLittleEndian(v, d); b.append(d, 2); };
    auto u32 = [&](quint32 v) { char d[4]; bigEndian ? qToBigEndian(v, d) : qToLittleEndian(v, d); b.append(d, 4); };
    u32(8);
    u16(1);
    u16(0x0112); u16(3); u32(1); u16(quint16(orientation)); u16(0);
    const quint32 ifd1 = 8 + 2 + 12 + 4;
    u32(thumbnailBytes ? ifd1 : 0);
    if (thumbnailBytes) {
        u16(1);
        u16(0x0201); u16(4); u32(1); u32(ifd1 + 18); // JPEGInterchangeFormat
        u32(0);
        b.append(QByteArray(thumbnailBytes, '\x11'));
    }
    return b;
}

std::vector<uint8_t> bytes(const QByteArray& a) { return std::vector<uint8_t>(a.begin(), a.end()); }

} // namespace

class TestDecodexInternals : public QObject
{
    Q_OBJECT

private slots:
    void orientationIsResetInBothByteOrders();
    void heifItemPrefixIsHandled();
    void malformedExifIsNeverFollowedOutside();
    void oversizedExifLosesItsThumbnail();
    void threadShareSplitsCores();
    void highBitDepthsRoundNotTruncate();
    void profilesForWideGamutOnly();
    void layoutOfGarbageIsNotDirect();
};

void TestDecodexInternals::orientationIsResetInBothByteOrders()
{
    for (bool be : {false, true}) {
        std::vector<uint8_t> tiff = bytes(tiffWithOrientation(be, 6));
        QCOMPARE(ExifEditor::orientation(tiff.data(), tiff.size()), 6);
        QVERIFY(ExifEditor::resetOrientation(tiff.data(), tiff.size()));
        QCOMPARE(ExifEditor::orientation(tiff.data(), tiff.size()), 1);
    }
}

void TestDecodexInternals::heifItemPrefixIsHandled()
{
    const QByteArray tiff = tiffWithOrientation(false, 8);
    // As iPhones write it: offset 6, then "Exif\0\0".
    QByteArray withHeader("\0\0\0\6Exif\0\0", 10);
    withHeader += tiff;
    // As libheif's own writer does: offset 0, TIFF at once.
    QByteArray bare("\0\0\0\0", 4);
    bare += tiff;
    for (const QByteArray& item : {withHeader, bare}) {
        const std::vector<uint8_t> out = ExifEditor::forJpeg(reinterpret_cast<const uint8_t*>(item.constData()), size_t(item.size()));
        QCOMPARE(out.size(), size_t(6 + tiff.size()));
        QVERIFY(std::equal(out.begin(), out.begin() + 6, "Exif\0\0"));
        QCOMPARE(ExifEditor::orientation(out.data() + 6, out.size() - 6), 1);
    }
    // A wrong offset is survived by looking for the header.
    QByteArray wrong("\0\0\0\x40" "Exif\0\0", 10);
    wrong += tiff;
    QVERIFY(!ExifEditor::forJpeg(reinterpret_cast<const uint8_t*>(wrong.constData()), size_t(wrong.size())).empty());
}

void TestDecodexInternals::malformedExifIsNeverFollowedOutside()
{
    // Every truncation and every single-byte corruption of a valid block;
    // the sanitizers watch the reads and writes.
    const QByteArray good = tiffWithOrientation(true, 3, 40);
    for (int cut = 0; cut <= good.size(); ++cut) {
        std::vector<uint8_t> t(good.begin(), good.begin() + cut);
        ExifEditor::resetOrientation(t.data(), t.size());
        ExifEditor::dropThumbnail(t.data(), t.size());
    }
    for (int i = 0; i < good.size(); ++i) {
        for (uint8_t v : {uint8_t(0x00), uint8_t(0xFF), uint8_t(0x7F)}) {
            std::vector<uint8_t> t = bytes(good);
            t[size_t(i)] = v;
            ExifEditor::resetOrientation(t.data(), t.size());
            QVERIFY(ExifEditor::dropThumbnail(t.data(), t.size()) <= t.size());
            QByteArray item("\0\0\0\0", 4);
            item.append(reinterpret_cast<const char*>(t.data()), int(t.size()));
            ExifEditor::forJpeg(reinterpret_cast<const uint8_t*>(item.constData()), size_t(item.size()));
        }
    }
    QVERIFY(ExifEditor::forJpeg(nullptr, 0).empty());
    const uint8_t tiny[3] = {0, 0, 0};
    QVERIFY(ExifEditor::forJpeg(tiny, 3).empty());
}

void TestDecodexInternals::oversizedExifLosesItsThumbnail()
{
    QByteArray item("\0\0\0\0", 4);
    item += tiffWithOrientation(false, 6, 70000);
    const std::vector<uint8_t> out = ExifEditor::forJpeg(reinterpret_cast<const uint8_t*>(item.constData()), size_t(item.size()));
    QVERIFY(!out.empty());
    QVERIFY(out.size() <= ExifEditor::kMaxPayload);
    QCOMPARE(ExifEditor::orientation(out.data() + 6, out.size() - 6), 1);
    QCOMPARE(out.size(), size_t(6 + 8 + 2 + 12 + 4));
}

void TestDecodexInternals::threadShareSplitsCores()
{
    QCOMPARE(decodex::ThreadBudget::share(8, 1), 8);
    QCOMPARE(decodex::ThreadBudget::share(8, 4), 2);
    QCOMPARE(decodex::ThreadBudget::share(2, 5), 1);
    QCOMPARE(decodex::ThreadBudget::share(0, 1), 1);
    decodex::ThreadBudget outer;
    decodex::ThreadBudget inner;
    QVERIFY(inner.threads() <= outer.threads());
}

void TestDecodexInternals::highBitDepthsRoundNotTruncate()
{
    for (int bits : {10, 12}) {
        const std::vector<uint8_t> table = decodex::RgbConverter::toneTable(bits, 13);
        const int max = (1 << bits) - 1;
        QCOMPARE(int(table[0]), 0);
        QCOMPARE(int(table[size_t(max)]), 255);
        for (int level : {1, 64, 128, 200, 254}) {
            const int code = (level * max + 127) / 255;
            QCOMPARE(int(table[size_t(code)]), level);
        }
    }
    // PQ: reference white (203 nits) lands in the upper part, 10000 nits at white.
    const std::vector<uint8_t> pq = decodex::RgbConverter::toneTable(10, 16);
    QCOMPARE(int(pq[1023]), 255);
    QVERIFY(pq[580] > 150 && pq[580] < 250);
    QVERIFY(std::is_sorted(pq.begin(), pq.end()));
}

void TestDecodexInternals::profilesForWideGamutOnly()
{
    QVERIFY(decodex::ColorProfile::forPrimaries(1).empty());
    QVERIFY(decodex::ColorProfile::forPrimaries(2).empty());
    for (int p : {9, 12}) {
        const std::vector<uint8_t> icc = decodex::ColorProfile::forPrimaries(p);
        QVERIFY(icc.size() > 128);
        QCOMPARE(QByteArray(reinterpret_cast<const char*>(icc.data()) + 36, 4), QByteArray("acsp"));
    }
}

void TestDecodexInternals::layoutOfGarbageIsNotDirect()
{
    QByteArray box("\0\0\0\x10" "ftypheic\0\0\0\0", 16);
    box += QByteArray("\0\0\0\x08meta", 8);
    box += QByteArray("\xFF\xFF\xFF\xFFmeta", 8);
    const auto layout = decodex::HeifLayout::read(reinterpret_cast<const uint8_t*>(box.constData()), size_t(box.size()));
    QVERIFY(!layout.direct);
    QVERIFY(!decodex::HeifLayout::read(nullptr, 0).direct);
}

QTEST_GUILESS_MAIN(TestDecodexInternals)
#include "tst_decodex_internals.moc"

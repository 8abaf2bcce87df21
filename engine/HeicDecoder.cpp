#include "HeicDecoder.h"

#include "DecoderLibrary.h"
#include "EngineLog.h"
#include "MemoryBudget.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>

#include <atomic>
#include <limits>
#include <new>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("HeicDecoder", text);
}

bool looksLikeJpeg(const uint8_t* data, int32_t size)
{
    return size >= 3 && data[0] == 0xFF && data[1] == 0xD8 && data[2] == 0xFF;
}

// One call into the library with a buffer of exactly `capacity` bytes,
// which becomes the result when the library wrote a JPEG into it. The
// buffer is only allocated, not cleared: the system maps the pages the
// encoder touches, so a generous capacity costs address space, not memory,
// and the JPEG is trimmed in place rather than copied.
int32_t callLibrary(Heif2JpgFn convert, Heif2JpgWithOptionsFn withOptions, const decodex_options& options,
                    const char* scratchName, const QByteArray& input, int32_t capacity, QByteArray& jpeg)
{
    QByteArray output;
    try {
        output = QByteArray(capacity, Qt::Uninitialized);
    } catch (const std::bad_alloc&) {
        return DECODEX_ERR_ENCODE_FAILED;
    }
    auto* data = reinterpret_cast<uint8_t*>(output.data());
    const auto* bytes = reinterpret_cast<const uint8_t*>(input.constData());
    const int32_t written = withOptions
        ? withOptions(bytes, int32_t(input.size()), &options, data, capacity)
        : convert(bytes, int32_t(input.size()), options.quality, data, capacity, scratchName);
    if (written > 0 && written <= capacity && looksLikeJpeg(data, written)) {
        output.resize(written);
        output.squeeze();
        jpeg = std::move(output);
    }
    return written;
}

} // namespace

HeicDecoder::HeicDecoder(Heif2JpgFn convert) : m_convert(convert) {}

QByteArray HeicDecoder::readHeicFile(const QString& path, QString* failure)
{
    auto fail = [failure](const QString& why) {
        if (failure)
            *failure = why;
        return QByteArray();
    };

    // Opening a FIFO or a device for reading can block forever; only plain
    // files are photos.
    const QFileInfo info(path);
    if (info.exists() && !info.isFile())
        return fail(tr("cannot open %1: not a regular file").arg(path));

    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(tr("cannot open %1: %2").arg(path, file.errorString()));

    const qint64 measured = file.size();
    m_fileSize = qint32(qMin<qint64>(measured, std::numeric_limits<qint32>::max()));
    if (measured < 1)
        return fail(tr("file is empty"));
    if (measured > kMaxFileSize)
        return fail(tr("file is larger than 2 GB, the most the decoding library can read"));
    const qint64 budget = MemoryBudget::global().limit();
    if (measured > budget)
        return fail(tr("file is larger than the %1 MB of memory set aside for converting")
                        .arg(budget >> 20));

    QByteArray bytes;
    try {
        bytes = QByteArray(int(measured), Qt::Uninitialized);
    } catch (const std::bad_alloc&) {
        return fail(tr("not enough memory to read the file"));
    }
    if (file.read(bytes.data(), measured) != measured)
        return fail(tr("cannot read %1: %2").arg(path, file.errorString()));
    return bytes;
}

HeicDecoder::Result HeicDecoder::decodeToJpeg(const QByteArray& input, int quality,
                                              const char* scratchName) const
{
    Result result;
    if (!m_convert) {
        result.failure = libraryMissingText();
        return result;
    }
    if (input.isEmpty()) {
        result.failure = tr("no data to decode");
        return result;
    }

    // The library's own bound first: a camera's 10-bit photo at quality 100
    // easily makes a JPEG of more than ten times its file, and finding that
    // out from a failed call would cost a second full decode. Reading the
    // bound takes only the container; ten times the input stays the floor.
    const auto* bytes = reinterpret_cast<const uint8_t*>(input.constData());
    const qint32 size = qint32(input.size());
    int32_t capacity = outputCapacity(size);
    if (const Heif2JpgCapacityFn bound = DecoderLibrary::capacityFor(m_convert))
        capacity = qMax(capacity, bound(bytes, size, quality));

    // Without options the plain export does, and every library has that.
    Heif2JpgWithOptionsFn withOptions = nullptr;
    if (!m_options.isDefault()) {
        withOptions = DecoderLibrary::withOptionsFor(m_convert);
        if (!withOptions) {
            result.failure = tr("the decoding library is too old to shrink photos or leave out their "
                                "location or gain map");
            return result;
        }
    }
    decodex_options options = {};
    options.version = DECODEX_OPTIONS_VERSION;
    options.quality = quality;
    options.max_long_side = qMax(m_options.maxLongSide, 0);
    options.flags = (m_options.keepLocation ? 0u : DECODEX_OPTION_NO_LOCATION)
                    | (m_options.keepGainMap ? 0u : DECODEX_OPTION_NO_GAIN_MAP);

    const MemoryBudget::Lease lease(MemoryBudget::global(), workingMemory(size, capacity));
    const int32_t written =
        callLibrary(m_convert, withOptions, options, scratchName, input, capacity, result.jpeg);
    if (!result.jpeg.isEmpty())
        return result;
    result.failure = written < 0 ? describeError(written)
                                 : tr("the decoding library returned no picture");
    return result;
}

QImage HeicDecoder::thumbnail(const QByteArray& input) const
{
    const Heif2JpgThumbnailFn thumbnail = DecoderLibrary::thumbnailFor(m_convert);
    if (!thumbnail || input.isEmpty())
        return {};
    // A phone's thumbnail is a few tens of kilobytes as a JPEG.
    QByteArray jpeg(4 << 20, Qt::Uninitialized);
    const int32_t written = thumbnail(reinterpret_cast<const uint8_t*>(input.constData()),
                                      int32_t(input.size()), 90,
                                      reinterpret_cast<uint8_t*>(jpeg.data()), int32_t(jpeg.size()));
    if (written <= 0 || written > jpeg.size())
        return {};
    jpeg.resize(written);
    return imageFromJpeg(jpeg);
}

HeicDecoder::Result HeicDecoder::convertFile(const QString& path, int quality,
                                             const char* scratchName,
                                             const std::function<void(const QByteArray&)>& whenRead)
{
    Result result;
    if (!m_convert) {
        // Said once for the whole process, not once per file of a batch.
        static std::atomic_bool warned{false};
        if (!warned.exchange(true))
            qCWarning(lcEngine).noquote() << libraryMissingText();
        result.failure = libraryMissingText();
        return result;
    }
    const QByteArray input = readHeicFile(path, &result.failure);
    if (!input.isNull()) {
        if (whenRead)
            whenRead(input);
        result = decodeToJpeg(input, quality, scratchName);
    }
    if (!result.ok())
        qCWarning(lcEngine).noquote() << path + QStringLiteral(": ") + result.failure;
    return result;
}

QImage HeicDecoder::imageFromJpeg(const QByteArray& jpeg)
{
    QImage image;
    if (!jpeg.isEmpty())
        image.loadFromData(jpeg, "JPG");
    return image;
}

QImage HeicDecoder::imageFromJpeg(const QByteArray& jpeg, const QSize& box, QSize* fullSize)
{
    *fullSize = QSize(0, 0);
    if (jpeg.isEmpty())
        return {};
    QBuffer buffer;
    buffer.setData(jpeg);
    QImageReader reader(&buffer, "JPG");
    const QSize full = reader.size();
    if (box.isValid() && full.isValid()
        && (full.width() > box.width() || full.height() > box.height()))
        reader.setScaledSize(full.scaled(box, Qt::KeepAspectRatio));
    QImage image = reader.read();
    if (!image.isNull())
        *fullSize = full.isValid() ? full : image.size();
    return image;
}

qint64 HeicDecoder::workingMemory(qint32 inputSize, qint32 capacity)
{
    // The bound is six bytes a pixel; decoding takes about as much again
    // (the decoder's picture and its side data, the planes or RGB rows the
    // encoder reads, the JPEG itself), so twice the bound plus the file.
    return qint64(inputSize) + 2 * qint64(qMax(capacity, 0));
}

qint32 HeicDecoder::outputCapacity(qint32 inputSize)
{
    if (inputSize <= 0)
        return 0;
    const qint64 capacity = qint64(inputSize) * kCapacityFactor;
    return qint32(qMin<qint64>(capacity, std::numeric_limits<qint32>::max()));
}

QString HeicDecoder::describeError(int32_t code)
{
    switch (code) {
    case DECODEX_ERR_BAD_ARGUMENT:
        return tr("the decoding library refused the input");
    case DECODEX_ERR_NOT_HEIF:
        return tr("not a HEIF file");
    case DECODEX_ERR_DECODE_FAILED:
        return tr("the picture could not be decoded");
    case DECODEX_ERR_DAMAGED:
        return tr("damaged or incomplete HEIF file");
    case DECODEX_ERR_AV1_UNSUPPORTED:
        return tr("AV1 image (AVIF), which no installed decoder can read");
    case DECODEX_ERR_IMAGE_SEQUENCE:
        return tr("image sequence (animation) without a still image");
    case DECODEX_ERR_IMAGE_TOO_LARGE:
        return tr("image is too large (more than 200 megapixels)");
    case DECODEX_ERR_OUTPUT_TOO_SMALL:
        return tr("the JPEG did not fit in its buffer");
    case DECODEX_ERR_ENCODE_FAILED:
        return tr("JPEG encoding failed or memory ran out");
    default:
        return tr("decoding failed (error %1)").arg(code);
    }
}

QString HeicDecoder::libraryMissingText()
{
    return tr("decoding library not found");
}

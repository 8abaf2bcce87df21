#include "HeicFixture.h"

#include <QDir>
#include <QFile>
#include <QPainter>
#include <QtEndian>

#include <libheif/heif.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <type_traits>

namespace {

// libheif's objects, each freed by its own function.
template <typename T, auto Free>
using Owned = std::unique_ptr<T, std::integral_constant<decltype(Free), Free>>;

bool failed(const heif_error& err, QString* error, const char* what)
{
    if (err.code == heif_error_Ok)
        return false;
    if (error)
        *error = QStringLiteral("%1: %2").arg(QLatin1String(what), QString::fromUtf8(err.message));
    return true;
}

heif_error writeToByteArray(heif_context*, const void* data, size_t size, void* userdata)
{
    static_cast<QByteArray*>(userdata)->append(static_cast<const char*>(data), int(size));
    return heif_error{heif_error_Ok, heif_suberror_Unspecified, "ok"};
}

// Fills an interleaved RGB(A) plane of the given bit depth from the picture.
void fillPlane(heif_image* image, const QImage& picture, int bitDepth, bool alpha)
{
    int stride = 0;
    uint8_t* plane = heif_image_get_plane(image, heif_channel_interleaved, &stride);
    const QImage src = picture.convertToFormat(QImage::Format_RGBA8888);
    const int channels = alpha ? 4 : 3;
    const int maxValue = (1 << bitDepth) - 1;
    for (int y = 0; y < src.height(); ++y) {
        const uchar* in = src.constScanLine(y);
        uint8_t* out = plane + size_t(y) * size_t(stride);
        for (int x = 0; x < src.width(); ++x) {
            for (int c = 0; c < channels; ++c) {
                const int v = in[x * 4 + c];
                if (bitDepth == 8) {
                    out[x * channels + c] = uint8_t(v);
                } else {
                    // Scale with rounding so a full-range 8-bit value maps to
                    // the same relative level at the higher depth.
                    const quint16 wide = quint16((v * maxValue + 127) / 255);
                    qToLittleEndian(wide, out + (x * channels + c) * 2);
                }
            }
        }
    }
}

void appendU16(QByteArray& b, quint16 v) { char d[2]; qToLittleEndian(v, d); b.append(d, 2); }
void appendU32(QByteArray& b, quint32 v) { char d[4]; qToLittleEndian(v, d); b.append(d, 4); }
void appendEntry(QByteArray& b, quint16 tag, quint16 type, quint32 count, quint32 value)
{
    appendU16(b, tag);
    appendU16(b, type);
    appendU32(b, count);
    appendU32(b, value);
}

} // namespace

QByteArray HeicFixture::encode(const QImage& picture, const HeicFixtureOptions& options, QString* error)
{
    Owned<heif_context, heif_context_free> ctx(heif_context_alloc());
    heif_encoder* rawEncoder = nullptr;
    if (failed(heif_context_get_encoder_for_format(ctx.get(), heif_compression_HEVC, &rawEncoder),
               error, "no HEVC encoder"))
        return {};
    Owned<heif_encoder, heif_encoder_release> encoder(rawEncoder);
    heif_encoder_set_lossy_quality(encoder.get(), options.encoderQuality);
    const bool monochrome = options.chroma == 400;
    const QByteArray chroma = QByteArray::number(options.chroma);
    if (!monochrome)
        heif_encoder_set_parameter_string(encoder.get(), "chroma", chroma.constData());

    heif_chroma layout;
    if (options.bitDepth == 8)
        layout = options.alpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB;
    else
        layout = options.alpha ? heif_chroma_interleaved_RRGGBBAA_LE : heif_chroma_interleaved_RRGGBB_LE;

    heif_image* rawImage = nullptr;
    if (failed(heif_image_create(picture.width(), picture.height(),
                                 monochrome ? heif_colorspace_monochrome : heif_colorspace_RGB,
                                 monochrome ? heif_chroma_monochrome : layout, &rawImage),
               error, "heif_image_create"))
        return {};
    Owned<heif_image, heif_image_release> image(rawImage);
    if (failed(heif_image_add_plane(image.get(), monochrome ? heif_channel_Y : heif_channel_interleaved,
                                    picture.width(), picture.height(), monochrome ? 8 : options.bitDepth),
               error, "heif_image_add_plane"))
        return {};
    if (monochrome) {
        int stride = 0;
        uint8_t* plane = heif_image_get_plane(image.get(), heif_channel_Y, &stride);
        const QImage grey = picture.convertToFormat(QImage::Format_Grayscale8);
        for (int y = 0; y < grey.height(); ++y)
            std::copy_n(grey.constScanLine(y), grey.width(), plane + size_t(y) * size_t(stride));
    } else {
        fillPlane(image.get(), picture, options.bitDepth, options.alpha);
    }

    if (!options.icc.isEmpty())
        heif_image_set_raw_color_profile(image.get(), "prof", options.icc.constData(), size_t(options.icc.size()));
    Owned<heif_encoding_options, heif_encoding_options_free> encOptions(heif_encoding_options_alloc());
    Owned<heif_color_profile_nclx, heif_nclx_color_profile_free> nclx;
    if (options.nclxPrimaries != 0) {
        nclx.reset(heif_nclx_color_profile_alloc());
        nclx->color_primaries = heif_color_primaries(options.nclxPrimaries);
        nclx->transfer_characteristics = heif_transfer_characteristics(options.nclxTransfer);
        nclx->matrix_coefficients = heif_matrix_coefficients(options.nclxMatrix);
        nclx->full_range_flag = options.fullRange ? 1 : 0;
        heif_image_set_nclx_color_profile(image.get(), nclx.get());
        // libheif writes an nclx box only when told which one, and by
        // default leaves it out for macOS' sake.
        encOptions->output_nclx_profile = nclx.get();
        encOptions->macOS_compatibility_workaround_no_nclx_profile = 0;
    }
    encOptions->save_alpha_channel = options.alpha ? 1 : 0;
    encOptions->image_orientation = heif_orientation(options.orientation);
    if (options.nclxPrimaries != 0 && !options.icc.isEmpty())
        encOptions->save_two_colr_boxes_when_ICC_and_nclx_available = 1;

    heif_image_handle* rawHandle = nullptr;
    if (failed(heif_context_encode_image(ctx.get(), image.get(), encoder.get(), encOptions.get(), &rawHandle),
               error, "heif_context_encode_image"))
        return {};
    Owned<heif_image_handle, heif_image_handle_release> handle(rawHandle);
    if (options.thumbnail > 0) {
        heif_image_handle* thumb = nullptr;
        if (failed(heif_context_encode_thumbnail(ctx.get(), image.get(), handle.get(), encoder.get(),
                                                 encOptions.get(), options.thumbnail, &thumb),
                   error, "heif_context_encode_thumbnail"))
            return {};
        heif_image_handle_release(thumb);
    }

    if (!options.exifTiff.isEmpty()
        && failed(heif_context_add_exif_metadata(ctx.get(), handle.get(), options.exifTiff.constData(),
                                                 options.exifTiff.size()),
                  error, "heif_context_add_exif_metadata"))
        return {};
    if (!options.xmp.isEmpty()
        && failed(heif_context_add_XMP_metadata(ctx.get(), handle.get(), options.xmp.constData(),
                                                options.xmp.size()),
                  error, "heif_context_add_XMP_metadata"))
        return {};

    QByteArray bytes;
    heif_writer writer{};
    writer.writer_api_version = 1;
    writer.write = writeToByteArray;
    if (failed(heif_context_write(ctx.get(), &writer, &bytes), error, "heif_context_write"))
        return {};
    return bytes;
}

bool HeicFixture::write(const QString& path, const QImage& picture, const HeicFixtureOptions& options)
{
    const QByteArray bytes = encode(picture, options);
    if (bytes.isEmpty())
        return false;
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QImage HeicFixture::quadrants(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    QPainter p(&image);
    const int hw = width / 2, hh = height / 2;
    p.fillRect(0, 0, hw, hh, QColor(220, 30, 30));
    p.fillRect(hw, 0, width - hw, hh, QColor(30, 200, 30));
    p.fillRect(0, hh, hw, height - hh, QColor(30, 30, 220));
    p.fillRect(hw, hh, width - hw, height - hh, QColor(240, 240, 240));
    return image;
}

QImage HeicFixture::gradient(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const int r = x * 255 / qMax(1, width - 1);
            const int g = y * 255 / qMax(1, height - 1);
            line[x] = qRgb(r, g, (r + g) / 2);
        }
    }
    return image;
}

QByteArray HeicFixture::exifBlock(int orientation, const QByteArray& dateTimeOriginal)
{
    // Layout: header (8) | IFD0 with 3 entries | Exif IFD with 1 entry |
    //         GPS IFD with 2 entries | the date string | the latitude.
    QByteArray date = dateTimeOriginal.left(19);
    date.append('\0');
    const quint32 ifd0 = 8;
    const quint32 ifd0Size = 2 + 3 * 12 + 4;
    const quint32 exifIfd = ifd0 + ifd0Size;
    const quint32 exifIfdSize = 2 + 1 * 12 + 4;
    const quint32 gpsIfd = exifIfd + exifIfdSize;
    const quint32 gpsIfdSize = 2 + 2 * 12 + 4;
    const quint32 dateOffset = gpsIfd + gpsIfdSize;
    const quint32 latitudeOffset = dateOffset + quint32(date.size());

    QByteArray b("II*\0", 4);
    appendU32(b, ifd0);
    appendU16(b, 3);
    appendEntry(b, 0x0112, 3, 1, quint32(orientation)); // Orientation, SHORT in the low half
    appendEntry(b, 0x8769, 4, 1, exifIfd);               // Exif IFD pointer
    appendEntry(b, 0x8825, 4, 1, gpsIfd);                // GPS IFD pointer
    appendU32(b, 0);
    appendU16(b, 1);
    appendEntry(b, 0x9003, 2, quint32(date.size()), dateOffset); // DateTimeOriginal
    appendU32(b, 0);
    appendU16(b, 2);
    appendEntry(b, 0x0001, 2, 2, quint32('N'));          // GPSLatitudeRef "N"
    appendEntry(b, 0x0002, 5, 3, latitudeOffset);        // GPSLatitude, three RATIONALs
    appendU32(b, 0);
    b.append(date);
    b.append(gpsLatitude());
    return b;
}

QByteArray HeicFixture::gpsLatitude()
{
    // 51 deg 10' 41.81": the rationals as exifBlock() stores them.
    QByteArray b;
    for (quint32 v : {51u, 1u, 10u, 1u, 4181u, 100u})
        appendU32(b, v);
    return b;
}

QString HeicFixture::corpusDir()
{
    const QString dir = QStringLiteral(PICTOVA_CORPUS_DIR);
    return QDir(dir).exists() ? QDir(dir).absolutePath() : QString();
}

double HeicFixture::psnr(const QImage& a, const QImage& b)
{
    if (a.size() != b.size() || a.isNull())
        return 0;
    const QImage x = a.convertToFormat(QImage::Format_RGB888), y = b.convertToFormat(QImage::Format_RGB888);
    double squared = 0;
    for (int row = 0; row < x.height(); ++row)
        for (int i = 0; i < x.width() * 3; ++i) {
            const double d = double(x.constScanLine(row)[i]) - double(y.constScanLine(row)[i]);
            squared += d * d;
        }
    const double mse = squared / (double(x.width()) * x.height() * 3);
    return 10.0 * std::log10(255.0 * 255.0 / std::max(mse, 1e-9));
}

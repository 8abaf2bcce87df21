#pragma once

#include "HeicDecoder.h"

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QThread>

#include <atomic>

// Decodes one HEIC file off the GUI thread for the preview page.
//
// run() emits, once and in this order:
//   signal_FileRead()           the file is in memory and goes to the
//                               library (not when it could not be read);
//   signal_SendThumbnail(image) the photo's embedded thumbnail, turned like
//                               the photo, as soon as the file is read; only
//                               when the file has one (phones store one), so
//                               the page can show something while a big
//                               photo decodes;
//   signal_SendJpegData(jpeg)   the library's JPEG bytes, which the page
//                               saves as they are when converting (empty on
//                               failure);
//   signal_SendHeicData(image, width, height)
//                               the decoded picture as a QImage (null and
//                               0 x 0 on failure) with the photo's full size;
//                               the page turns it into a QPixmap on the GUI
//                               thread.
// Queued signals from one thread arrive in the order emitted, so a page that
// keeps the bytes from the first can use them in the slot of the second.
// After either arrives, jpegData() and failureReason() hold the same result.
//
// Lifetime: the page may create the thread with itself as parent and simply
// be destroyed while it runs. The destructor asks the thread to stop and
// waits for it (at most the rest of one decode, which cannot be interrupted);
// a thread that was asked to stop emits nothing. Connect with the default
// (queued) connection: the page's slot then never runs after the page is gone.
class HEICTojpg : public QThread
{
    Q_OBJECT

public:
    static constexpr const char* kScratchFileName = "tempFile.hevc";

    HEICTojpg(const QString& filePath, Heif2JpgFn decoder, QObject* parent = nullptr);
    ~HEICTojpg() override;

    void setQuality(int quality);
    void setOptions(const ConversionOptions& options) { m_options = options; }
    const ConversionOptions& options() const { return m_options; }
    // When set, the picture is read from the JPEG at about this size (libjpeg
    // scales while decoding, which is much cheaper than a full-size read for
    // a 12 MP photo shown in a 510 x 340 label). width and height in the
    // signal still give the photo's full size. Unset: the full picture.
    void setPreviewSize(const QSize& box);
    // Kept for the page's interface; the preview decodes one file and has no
    // pass at which to stop. Use requestInterruption() to drop the result.
    void setStopFlag(bool stop);

    QString filePath() const { return m_filePath; }
    int quality() const { return m_quality; }
    // Size of the file as measured when it was read; 0 before.
    qint32 fileSize() const { return m_fileSize.load(); }
    // The result; read only after one of the signals arrived (or after wait()).
    QByteArray jpegData() const { return m_jpeg; }
    QString failureReason() const { return m_failure; }

signals:
    void signal_FileRead();
    void signal_SendThumbnail(const QImage& image);
    void signal_SendJpegData(const QByteArray& jpeg);
    void signal_SendHeicData(const QImage& image, int nWidth, int nHeight);

protected:
    void run() override;

private:
    std::atomic_bool m_stop{false};
    Heif2JpgFn m_decoderFn;
    QString m_filePath;
    std::atomic<qint32> m_fileSize{0};
    int m_quality = 100;
    ConversionOptions m_options;
    QSize m_previewSize;
    QByteArray m_jpeg;
    QString m_failure;
};

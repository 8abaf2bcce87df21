#include "HEICTojpg.h"

#include "EngineLog.h"

HEICTojpg::HEICTojpg(const QString& filePath, Heif2JpgFn decoder, QObject* parent)
    : QThread(parent), m_decoderFn(decoder), m_filePath(filePath)
{
}

HEICTojpg::~HEICTojpg()
{
    requestInterruption();
    wait();
}

void HEICTojpg::setQuality(int quality)
{
    m_quality = quality;
}

void HEICTojpg::setStopFlag(bool stop)
{
    m_stop.store(stop);
}

void HEICTojpg::setPreviewSize(const QSize& box)
{
    m_previewSize = box;
}

void HEICTojpg::run()
{
    HeicDecoder decoder(m_decoderFn);
    decoder.setOptions(m_options);
    HeicDecoder::Result result =
        decoder.convertFile(m_filePath, m_quality, kScratchFileName, [&](const QByteArray& input) {
            if (!isInterruptionRequested())
                emit signal_FileRead();
            const QImage thumbnail = decoder.thumbnail(input);
            if (!thumbnail.isNull() && !isInterruptionRequested())
                emit signal_SendThumbnail(thumbnail);
        });
    m_fileSize.store(decoder.fileSize());

    QSize fullSize;
    QImage image = HeicDecoder::imageFromJpeg(result.jpeg, m_previewSize, &fullSize);
    if (result.ok() && image.isNull()) {
        result.failure = tr("the decoded picture could not be read");
        result.jpeg.clear();
        qCWarning(lcEngine).noquote() << m_filePath + QStringLiteral(": ") + result.failure;
    }
    m_jpeg = result.jpeg;
    m_failure = result.failure;

    if (isInterruptionRequested())
        return;
    emit signal_SendJpegData(m_jpeg);
    emit signal_SendHeicData(image, fullSize.width(), fullSize.height());
}

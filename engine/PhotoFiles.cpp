#include "PhotoFiles.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QMutex>
#include <QMutexLocker>
#include <QStandardPaths>

#include <libexif/exif-data.h>

#include <memory>

namespace {

QMutex g_folderLock;
QString g_lastFolder;

QDateTime exifDate(ExifData* data, ExifTag tag)
{
    ExifEntry* entry = exif_content_get_entry(data->ifd[EXIF_IFD_EXIF], tag);
    if (!entry || entry->format != EXIF_FORMAT_ASCII || entry->size < 19)
        return QDateTime();
    const QString text = QString::fromLatin1(reinterpret_cast<const char*>(entry->data), 19);
    // Cameras write the local time of the place, without a zone.
    return QDateTime::fromString(text, QStringLiteral("yyyy:MM:dd HH:mm:ss"));
}

} // namespace

bool PhotoFiles::isHeifName(const QString& path)
{
    return path.endsWith(QLatin1String(".heic"), Qt::CaseInsensitive)
        || path.endsWith(QLatin1String(".heif"), Qt::CaseInsensitive)
        || path.endsWith(QLatin1String(".hif"), Qt::CaseInsensitive);
}

QStringList PhotoFiles::heifPaths(const QList<QUrl>& urls, int* leftOut)
{
    QStringList paths;
    int others = 0;
    for (const QUrl& url : urls) {
        const QString path = url.toLocalFile();
        if (!path.isEmpty() && isHeifName(path))
            paths << path;
        else
            ++others;
    }
    if (leftOut)
        *leftOut = others;
    return paths;
}

QString PhotoFiles::leftOutText(int leftOut)
{
    return leftOut == 1
        ? QCoreApplication::translate("PhotoFiles",
                                      "1 file was left out: only HEIC and HEIF photos "
                                      "(.heic, .heif, .hif) can be converted.")
        : QCoreApplication::translate("PhotoFiles",
                                      "%1 files were left out: only HEIC and HEIF photos "
                                      "(.heic, .heif, .hif) can be converted.")
              .arg(leftOut);
}

QString PhotoFiles::firstPhoto(const QList<QUrl>& urls, QString* note, int* leftOut)
{
    int others = 0;
    const QStringList photos = heifPaths(urls, &others);
    const int morePhotos = qMax(photos.size() - 1, 0);
    QString text;
    if (morePhotos > 0 && others > 0)
        text = QCoreApplication::translate("PhotoFiles",
                                           "Only the first photo was opened; %1 other files were left out "
                                           "(photos after the first, and files that are not HEIC or HEIF).")
                   .arg(morePhotos + others);
    else if (morePhotos == 1)
        text = QCoreApplication::translate("PhotoFiles",
                                           "Only the first photo was opened; 1 more photo was left out. "
                                           "Batch Conversion takes several at once.");
    else if (morePhotos > 1)
        text = QCoreApplication::translate("PhotoFiles",
                                           "Only the first photo was opened; %1 more photos were left out. "
                                           "Batch Conversion takes several at once.")
                   .arg(morePhotos);
    else if (others > 0)
        text = leftOutText(others);
    if (note)
        *note = text;
    if (leftOut)
        *leftOut = morePhotos + others;
    return photos.value(0);
}

QString PhotoFiles::nameFilter()
{
    return QStringLiteral("Image Files(*.HEIC *.HEIF *.HIF)");
}

QString PhotoFiles::startFolder()
{
    {
        QMutexLocker locker(&g_folderLock);
        if (!g_lastFolder.isEmpty() && QFileInfo(g_lastFolder).isDir())
            return g_lastFolder;
    }
    const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    if (!pictures.isEmpty() && QFileInfo(pictures).isDir())
        return pictures;
    return QDir::homePath();
}

void PhotoFiles::rememberFolder(const QString& fileOrFolder)
{
    if (fileOrFolder.isEmpty())
        return;
    const QFileInfo info(fileOrFolder);
    const QString folder = info.isDir() ? info.absoluteFilePath() : info.absolutePath();
    QMutexLocker locker(&g_folderLock);
    g_lastFolder = folder;
}

QDateTime PhotoFiles::captureDate(const QByteArray& jpeg)
{
    if (jpeg.isEmpty())
        return QDateTime();
    std::unique_ptr<ExifData, void (*)(ExifData*)> data(
        exif_data_new_from_data(reinterpret_cast<const unsigned char*>(jpeg.constData()),
                                unsigned(jpeg.size())),
        exif_data_unref);
    if (!data)
        return QDateTime();
    QDateTime taken = exifDate(data.get(), EXIF_TAG_DATE_TIME_ORIGINAL);
    if (!taken.isValid())
        taken = exifDate(data.get(), EXIF_TAG_DATE_TIME_DIGITIZED);
    return taken;
}

#include "PhotoFiles.h"

#include "SavedChoices.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <libexif/exif-data.h>

#include <memory>

namespace {

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

PhotoFiles::Collected PhotoFiles::collect(const QStringList& paths)
{
    Collected collected;
    const InputScanner::Result scan = InputScanner::scan(paths, true);
    for (const InputScanner::Photo& photo : scan.photos) {
        // A file named on its own is taken for its name, as in a chooser.
        if (photo.root.isEmpty() && !isHeifName(photo.path))
            ++collected.leftOut;
        else
            collected.photos.append(photo);
        collected.fromFolder = collected.fromFolder || !photo.root.isEmpty();
    }
    for (const QString& path : paths)
        collected.fromFolder = collected.fromFolder || QFileInfo(path).isDir();
    collected.leftOut += scan.otherFiles;
    for (const InputScanner::Problem& problem : scan.failed)
        collected.unreadable << QDir::toNativeSeparators(problem.path) + QStringLiteral(": ") + problem.reason;
    return collected;
}

PhotoFiles::Collected PhotoFiles::collect(const QList<QUrl>& urls)
{
    QStringList paths;
    int others = 0;
    for (const QUrl& url : urls) {
        const QString path = url.toLocalFile();
        if (path.isEmpty())
            ++others;
        else
            paths << path;
    }
    Collected collected = collect(paths);
    collected.leftOut += others;
    return collected;
}

QString PhotoFiles::notTakenText(const Collected& collected)
{
    QStringList lines;
    if (collected.leftOut > 0)
        lines << leftOutText(collected.leftOut);
    if (!collected.unreadable.isEmpty())
        lines << QCoreApplication::translate("PhotoFiles", "These could not be read:") + QLatin1Char('\n')
                     + collected.unreadable.join(QLatin1Char('\n'));
    return lines.join(QStringLiteral("\n\n"));
}

QString PhotoFiles::addedText(const Collected& collected, int added)
{
    QStringList parts;
    if (collected.fromFolder) {
        QString text = added == 1 ? QCoreApplication::translate("PhotoFiles", "1 photo was added.")
                                  : QCoreApplication::translate("PhotoFiles", "%1 photos were added.").arg(added);
        const int listed = collected.photos.size() - added;
        if (listed > 0)
            text += QLatin1Char(' ')
                    + (listed == 1 ? QCoreApplication::translate("PhotoFiles", "1 was in the list already.")
                                   : QCoreApplication::translate("PhotoFiles", "%1 were in the list already.")
                                         .arg(listed));
        parts << text;
    }
    const QString notTaken = notTakenText(collected);
    if (!notTaken.isEmpty())
        parts << notTaken;
    return parts.join(QStringLiteral("\n\n"));
}

QString PhotoFiles::nameFilter()
{
    return QStringLiteral("Image Files(*.HEIC *.HEIF *.HIF)");
}

QString PhotoFiles::startFolder()
{
    const QString last = SavedChoices::lastFolder();
    if (!last.isEmpty())
        return last;
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
    SavedChoices::setLastFolder(info.isDir() ? info.absoluteFilePath() : info.absolutePath());
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

#include "InputScanner.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QSet>

#include <algorithm>

namespace {

QStringList photosIn(const QString& folder, bool recursive, const std::function<bool()>& stopRequested)
{
    QStringList found;
    // Symbolic links to folders are not followed: a link back up the tree
    // would otherwise be walked for ever.
    QDirIterator it(folder, QDir::Files | QDir::NoDotAndDotDot,
                    recursive ? QDirIterator::Subdirectories : QDirIterator::NoIteratorFlags);
    while (it.hasNext()) {
        if (stopRequested && stopRequested())
            return {};
        const QString path = it.next();
        if (InputScanner::isPhotoName(it.fileName()))
            found << QDir::cleanPath(path);
    }
    std::sort(found.begin(), found.end());
    return found;
}

bool hasSubfolders(const QString& folder)
{
    return !QDir(folder).entryList(QDir::Dirs | QDir::NoDotAndDotDot).isEmpty();
}

// Two spellings of one file (a relative and an absolute name, a link) count
// as one photo.
QString identity(const QString& path)
{
    const QString canonical = QFileInfo(path).canonicalFilePath();
    return canonical.isEmpty() ? path : canonical;
}

} // namespace

bool InputScanner::isPhotoName(const QString& fileName)
{
    return fileName.endsWith(QLatin1String(".heic"), Qt::CaseInsensitive)
        || fileName.endsWith(QLatin1String(".heif"), Qt::CaseInsensitive);
}

InputScanner::Result InputScanner::scan(const QStringList& arguments, bool recursive,
                                        const std::function<bool()>& stopRequested)
{
    Result result;
    QSet<QString> seen;
    auto add = [&](const QString& path) {
        if (seen.contains(identity(path))) {
            result.repeated.append({path, QStringLiteral("named more than once, converted once")});
            return;
        }
        seen.insert(identity(path));
        result.files << path;
    };

    for (const QString& argument : arguments) {
        const QFileInfo info(argument);
        const QString path = QDir::cleanPath(info.absoluteFilePath());
        if (stopRequested && stopRequested()) {
            result.stopped = true;
            break;
        }
        if (info.isDir()) {
            const QStringList photos = photosIn(path, recursive, stopRequested);
            if (stopRequested && stopRequested()) {
                result.stopped = true;
                break;
            }
            if (photos.isEmpty()) {
                QString note = QStringLiteral("%1: no .heic or .heif files found")
                                   .arg(QDir::toNativeSeparators(path));
                if (!recursive && hasSubfolders(path))
                    note += QStringLiteral(" (add -r to look in its sub-folders)");
                result.notes << note;
            }
            for (const QString& photo : photos)
                add(photo);
        } else if (info.exists()) {
            add(path);
        } else {
            result.missing.append({path, QStringLiteral("no such file")});
        }
    }
    return result;
}

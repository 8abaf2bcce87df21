#include "InputScanner.h"

#include "AtomicFileWriter.h"
#include "PhotoFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <algorithm>

#ifdef Q_OS_WIN
#include <cerrno>
#else
#include <cerrno>
#include <dirent.h>
#endif

namespace {

struct Walk
{
    bool recursive = false;
    const std::function<bool()>& stopRequested;
    QStringList found;
    QVector<InputScanner::Problem> failed;
    int otherFiles = 0;
    bool hasSubfolders = false;

    bool stop() const { return stopRequested && stopRequested(); }

    // False when a stop was asked.
    bool folder(const QString& path, bool top)
    {
        const QString error = InputScanner::listingError(path);
        if (!error.isEmpty()) {
            failed.append({path, QStringLiteral("cannot read the folder: %1").arg(error)});
            return true;
        }
        const QFileInfoList entries =
            QDir(path).entryInfoList(QDir::Files | QDir::AllDirs | QDir::NoDotAndDotDot, QDir::Name);
        for (const QFileInfo& entry : entries) {
            if (stop())
                return false;
            if (entry.isDir()) {
                if (top)
                    hasSubfolders = true;
                if (recursive && !entry.isSymLink() && !folder(QDir::cleanPath(entry.filePath()), false))
                    return false;
            } else if (InputScanner::isPhotoName(entry.fileName())) {
                found << QDir::cleanPath(entry.filePath());
            } else {
                ++otherFiles;
            }
        }
        return true;
    }
};

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
    return PhotoFiles::isHeifName(fileName);
}

QString InputScanner::listingError(const QString& folder)
{
#ifdef Q_OS_WIN
    return QDir(folder).isReadable() ? QString() : AtomicFileWriter::reason(EACCES);
#else
    DIR* dir = ::opendir(QFile::encodeName(folder).constData());
    if (!dir)
        return AtomicFileWriter::reason(errno);
    ::closedir(dir);
    return QString();
#endif
}

InputScanner::Result InputScanner::scan(const QStringList& arguments, bool recursive,
                                        const std::function<bool()>& stopRequested)
{
    Result result;
    QSet<QString> seen;
    auto add = [&](const QString& path, const QString& root) {
        if (seen.contains(identity(path))) {
            result.repeated.append({path, QStringLiteral("named more than once, converted once")});
            return;
        }
        seen.insert(identity(path));
        result.photos.append({path, root});
    };

    for (const QString& argument : arguments) {
        const QFileInfo info(argument);
        const QString path = QDir::cleanPath(info.absoluteFilePath());
        if (stopRequested && stopRequested()) {
            result.stopped = true;
            break;
        }
        if (info.isDir()) {
            Walk walk{recursive, stopRequested, {}, {}, 0, false};
            if (!walk.folder(path, true)) {
                result.stopped = true;
                break;
            }
            std::sort(walk.found.begin(), walk.found.end());
            result.failed += walk.failed;
            result.otherFiles += walk.otherFiles;
            if (walk.found.isEmpty() && walk.failed.isEmpty()) {
                QString note = QStringLiteral("%1: no .heic, .heif or .hif files found")
                                   .arg(QDir::toNativeSeparators(path));
                if (!recursive && walk.hasSubfolders)
                    note += QStringLiteral(" (add -r to look in its sub-folders)");
                result.notes << note;
            }
            for (const QString& photo : walk.found)
                add(photo, path);
        } else if (info.exists()) {
            add(path, QString());
        } else {
            result.failed.append({path, info.isSymLink() ? QStringLiteral("a link to nothing")
                                                          : QStringLiteral("no such file")});
        }
    }
    return result;
}

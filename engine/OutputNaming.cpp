#include "OutputNaming.h"

#include "PhotoFiles.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <QStandardPaths>

namespace {

const QString kSubfolder = QStringLiteral("Vantora");
const QString kSubfolderTest = QStringLiteral("/Vantora");

} // namespace

QString OutputNaming::desktopFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
}

QString OutputNaming::workerFolder(const QString& savePath)
{
    return workerFolder(savePath, desktopFolder());
}

QString OutputNaming::workerFolder(const QString& savePath, const QString& desktop)
{
    if (savePath.isEmpty())
        return desktop + kSubfolderTest + QLatin1Char('/');
    if (savePath.contains(kSubfolderTest))
        return savePath;
    return savePath + kSubfolderTest;
}

QString OutputNaming::previewFolder(const QString& savePath)
{
    return previewFolder(savePath, desktopFolder());
}

QString OutputNaming::previewFolder(const QString& savePath, const QString& desktop)
{
    if (savePath.isEmpty())
        return desktop + kSubfolderTest;
    if (savePath.contains(kSubfolderTest))
        return savePath;
    if (savePath.endsWith(QStringLiteral(":/")))
        return savePath + kSubfolder;
    return savePath + kSubfolderTest;
}

QString OutputNaming::openFolderPath(const QString& savePath)
{
    return openFolderPath(savePath, desktopFolder());
}

QString OutputNaming::openFolderPath(const QString& savePath, const QString& desktop)
{
    if (savePath.isEmpty())
        return desktop + kSubfolderTest;
    return workerFolder(savePath, desktop);
}

QString OutputNaming::outputFileName(const QString& fileName)
{
    QString name = fileName;
    name.replace(QStringLiteral(".HEIC"), QStringLiteral(".jpg"), Qt::CaseSensitive);
    name.replace(QStringLiteral(".heic"), QStringLiteral(".jpg"), Qt::CaseSensitive);
    return name;
}

QString OutputNaming::desktopJpegName(const QString& fileName)
{
    // ".HEIC" and ".heic" as always; any other HEIF ending at the end too.
    const QString name = outputFileName(fileName);
    return PhotoFiles::isHeifName(name) ? jpegFileName(name) : name;
}

QStringList OutputNaming::runTargets(const QString& folder, const QStringList& sources)
{
    QStringList folders;
    for (int i = 0; i < sources.size(); ++i)
        folders << folder;
    return runTargets(folders, sources, false);
}

QStringList OutputNaming::runTargets(const QStringList& folders, const QStringList& sources, bool keepExisting)
{
    QStringList targets;
    targets.reserve(sources.size());
    QSet<QString> taken; // folder + name, lower case
    // What each folder holds already, in lower case: a camera's IMG_1.JPG
    // keeps IMG_1.jpg out too, as it would on its own card's file system.
    QHash<QString, QSet<QString>> present;
    for (int i = 0; i < sources.size(); ++i) {
        QString base = folders.value(i);
        while (base.endsWith(QLatin1Char('/')) && base.size() > 1)
            base.chop(1);
        if (keepExisting && !present.contains(base)) {
            QSet<QString>& names = present[base];
            const QStringList entries =
                QDir(base).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
            for (const QString& entry : entries)
                names.insert(entry.toLower());
        }
        const QString name = desktopJpegName(QFileInfo(sources.at(i)).fileName());
        auto unavailable = [&](const QString& candidate) {
            return taken.contains((base + QLatin1Char('/') + candidate).toLower())
                || present.value(base).contains(candidate.toLower());
        };
        QString candidate = name;
        if (unavailable(candidate)) {
            const int dot = name.lastIndexOf(QLatin1Char('.'));
            const QString stem = dot > 0 ? name.left(dot) : name;
            const QString ending = dot > 0 ? name.mid(dot) : QString();
            for (int n = 2; unavailable(candidate); ++n)
                candidate = stem + QStringLiteral(" (%1)").arg(n) + ending;
        }
        const QString target = base + QLatin1Char('/') + candidate;
        taken.insert(target.toLower());
        targets << target;
    }
    return targets;
}

QStringList OutputNaming::runFolders(const QString& runFolder, const QStringList& sources, const QStringList& roots,
                                     bool besidePhotos)
{
    QStringList folders;
    folders.reserve(sources.size());
    for (int i = 0; i < sources.size(); ++i) {
        const QString photoFolder = QFileInfo(sources.at(i)).absolutePath();
        if (besidePhotos) {
            folders << photoFolder;
            continue;
        }
        const QString root = roots.value(i);
        const QString below = root.isEmpty() ? QString() : QDir(root).relativeFilePath(photoFolder);
        // A photo outside its root (a link's target) goes flat, never up.
        if (below.isEmpty() || below == QLatin1String(".") || below.startsWith(QLatin1String("..")))
            folders << runFolder;
        else
            folders << QDir::cleanPath(runFolder + QLatin1Char('/') + below);
    }
    return folders;
}

QString OutputNaming::commonFolder(const QStringList& folders)
{
    if (folders.isEmpty())
        return QString();
    QStringList common = QDir::cleanPath(folders.first()).split(QLatin1Char('/'));
    for (const QString& folder : folders) {
        const QStringList parts = QDir::cleanPath(folder).split(QLatin1Char('/'));
        int same = 0;
        while (same < common.size() && same < parts.size() && common.at(same) == parts.at(same))
            ++same;
        common = common.mid(0, same);
    }
    const QString joined = common.join(QLatin1Char('/'));
    return joined.isEmpty() ? QStringLiteral("/") : joined;
}

QString OutputNaming::jpegFileName(const QString& fileName)
{
    for (const char* ending : {".heic", ".heif", ".hif"}) {
        const QLatin1String suffix(ending);
        if (fileName.size() > suffix.size() && fileName.endsWith(suffix, Qt::CaseInsensitive))
            return fileName.left(fileName.size() - suffix.size()) + QStringLiteral(".jpg");
    }
    return fileName + QStringLiteral(".jpg");
}

QString OutputNaming::targetPath(const QString& folder, const QString& sourcePath)
{
    return folder + QLatin1Char('/') + outputFileName(QFileInfo(sourcePath).fileName());
}

#include "OutputNaming.h"

#include "FolderCase.h"
#include "PhotoFiles.h"

#include <QFileInfo>
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
    QStringList targets;
    targets.reserve(sources.size());
    QString base = folder;
    while (base.endsWith(QLatin1Char('/')) && base.size() > 1)
        base.chop(1);
    const bool ignoreCase = FolderCase::of(base) == Qt::CaseInsensitive;
    auto key = [ignoreCase](const QString& name) { return ignoreCase ? name.toCaseFolded() : name; };
    QSet<QString> taken;
    for (const QString& source : sources) {
        const QString name = desktopJpegName(QFileInfo(source).fileName());
        QString candidate = name;
        if (taken.contains(key(candidate))) {
            const int dot = name.lastIndexOf(QLatin1Char('.'));
            const QString stem = dot > 0 ? name.left(dot) : name;
            const QString ending = dot > 0 ? name.mid(dot) : QString();
            for (int n = 2; taken.contains(key(candidate)); ++n)
                candidate = stem + QStringLiteral(" (%1)").arg(n) + ending;
        }
        taken.insert(key(candidate));
        targets << base + QLatin1Char('/') + candidate;
    }
    return targets;
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

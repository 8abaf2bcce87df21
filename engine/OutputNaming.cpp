#include "OutputNaming.h"

#include <QFileInfo>
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

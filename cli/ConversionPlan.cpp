#include "ConversionPlan.h"

#include "OutputNaming.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>

namespace {

// The same file however it is spelt: links resolved where the file exists,
// and folded to one case where the file system ignores case.
QString fileKey(const QString& path)
{
    const QString canonical = QFileInfo(path).canonicalFilePath();
    const QString key = canonical.isEmpty() ? QDir::cleanPath(path) : canonical;
    return ConversionPlan::fileNameCase() == Qt::CaseInsensitive ? key.toCaseFolded() : key;
}

// A target does not exist yet, but its folder may be reached through a link.
QString targetKey(const QString& folderKey, const QString& fileName)
{
    const QString key = folderKey + QLatin1Char('/') + fileName;
    return ConversionPlan::fileNameCase() == Qt::CaseInsensitive ? key.toCaseFolded() : key;
}

} // namespace

Qt::CaseSensitivity ConversionPlan::fileNameCase()
{
#if defined(Q_OS_WIN) || defined(Q_OS_MACOS)
    return Qt::CaseInsensitive;
#else
    return Qt::CaseSensitive;
#endif
}

ConversionPlan::Result ConversionPlan::make(const QStringList& sources, const QString& savePath,
                                            const QString& desktop)
{
    Result result;
    result.folder = QDir::cleanPath(OutputNaming::workerFolder(savePath, desktop));
    const QString folderCanonical = QFileInfo(result.folder).canonicalFilePath();
    const QString folderKey = folderCanonical.isEmpty() ? result.folder : folderCanonical;

    QHash<QString, QString> sourceByKey;
    for (const QString& source : sources)
        sourceByKey.insert(fileKey(source), source);

    // Targets in first-seen order, so clashes are reported in argument order.
    QStringList order;
    QHash<QString, QStringList> sourcesByTarget;
    QHash<QString, QString> targetByKey;
    for (const QString& source : sources) {
        const QString name = OutputNaming::outputFileName(QFileInfo(source).fileName());
        const QString key = targetKey(folderKey, name);
        const QString sameFile = sourceByKey.value(key);
        if (sameFile == source) {
            result.refusals.append(
                {source, QStringLiteral("its JPEG would replace the photo itself (a name ending "
                                        "in \"%1\" keeps its name); choose another folder with -o")
                             .arg(QStringLiteral(".") + QFileInfo(source).suffix())});
            continue;
        }
        if (!sourcesByTarget.contains(key)) {
            order << key;
            targetByKey.insert(key, result.folder + QLatin1Char('/') + name);
        }
        sourcesByTarget[key] << source;
    }

    for (const QString& key : order) {
        const QStringList& group = sourcesByTarget[key];
        const QString replaced = sourceByKey.value(key);
        if (!replaced.isEmpty()) {
            result.clashes.append({replaced, group, true});
        } else if (group.size() > 1) {
            result.clashes.append({targetByKey[key], group, false});
        } else {
            result.jobs.append({group.first(), targetByKey[key]});
        }
    }
    return result;
}

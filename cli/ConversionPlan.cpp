#include "ConversionPlan.h"

#include "FolderCase.h"
#include "OutputNaming.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>

namespace {

// The same file however it is spelt: links resolved where the file exists,
// and folded to one case where the folder's file system ignores case (asked
// once per folder). A target need not exist yet, but its folder may be
// reached through a link.
class FileKeys
{
public:
    QString of(const QString& path)
    {
        const QFileInfo info(path);
        QString key;
        if (info.exists() && !info.isSymLink()) {
            key = info.canonicalFilePath();
        } else {
            const QString folder = QFileInfo(info.absolutePath()).canonicalFilePath();
            key = (folder.isEmpty() ? info.absolutePath() : folder) + QLatin1Char('/') + info.fileName();
        }
        const QString folder = info.absolutePath();
        auto rule = m_rules.find(folder);
        if (rule == m_rules.end())
            rule = m_rules.insert(folder, FolderCase::of(folder));
        return *rule == Qt::CaseInsensitive ? key.toCaseFolded() : key;
    }

private:
    QHash<QString, Qt::CaseSensitivity> m_rules;
};

QString targetFor(const InputScanner::Photo& photo, const QString& outputFolder)
{
    const QFileInfo source(photo.path);
    QString folder = source.absolutePath();
    if (!outputFolder.isEmpty()) {
        folder = outputFolder;
        if (!photo.root.isEmpty()) {
            // Both sides absolute: on Windows a root given as "\\photos" has
            // no drive while the photo's absolute folder has one, and
            // relativeFilePath() then hands back the whole path ("Z:/photos/...").
            const QString below = QDir(QFileInfo(photo.root).absoluteFilePath())
                                      .relativeFilePath(source.absolutePath());
            if (below != QLatin1String("."))
                folder += QLatin1Char('/') + below;
        }
    }
    return QDir::cleanPath(folder + QLatin1Char('/') + OutputNaming::jpegFileName(source.fileName()));
}

} // namespace

ConversionPlan::Result ConversionPlan::make(const QVector<InputScanner::Photo>& photos,
                                            const QString& outputFolder, bool keepExisting)
{
    Result result;
    FileKeys keys;
    QHash<QString, QString> sourceByKey;
    for (const InputScanner::Photo& photo : photos)
        sourceByKey.insert(keys.of(photo.path), photo.path);

    // Targets in first-seen order, so clashes are reported in argument order.
    QStringList order;
    QHash<QString, QStringList> sourcesByTarget;
    QHash<QString, QString> targetByKey;
    for (const InputScanner::Photo& photo : photos) {
        const QString target = targetFor(photo, outputFolder);
        const QString key = keys.of(target);
        if (!sourcesByTarget.contains(key)) {
            order << key;
            targetByKey.insert(key, target);
        }
        sourcesByTarget[key] << photo.path;
    }

    for (const QString& key : order) {
        const QStringList& group = sourcesByTarget[key];
        const QString replaced = sourceByKey.value(key);
        const QString target = targetByKey[key];
        if (!replaced.isEmpty()) {
            result.clashes.append({replaced, group, true});
        } else if (group.size() > 1) {
            result.clashes.append({target, group, false});
        } else if (keepExisting && (QFileInfo::exists(target) || QFileInfo(target).isSymLink())) {
            result.kept.append({group.first(), QStringLiteral("its JPEG is already there, kept (-n)")});
        } else {
            result.jobs.append({group.first(), target});
        }
    }
    return result;
}

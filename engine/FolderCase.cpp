#include "FolderCase.h"

#include "AtomicFileWriter.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QTemporaryFile>

namespace {

QString swapped(const QString& name)
{
    const QString upper = name.toUpper();
    return upper != name ? upper : name.toLower();
}

// Whether `name`, an entry of `folder`, is found under another spelling
// that is no entry of its own. On a folder that tells case apart the other
// spelling is almost never there, and nothing is listed.
bool foundSpeltOtherwise(const QString& folder, const QString& name)
{
    const QString other = swapped(name);
    return QFileInfo::exists(QDir(folder).filePath(other))
           && !QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot)
                   .contains(other);
}

Qt::CaseSensitivity usualRule()
{
#if defined(Q_OS_WIN) || defined(Q_OS_MACOS)
    return Qt::CaseInsensitive;
#else
    return Qt::CaseSensitive;
#endif
}

} // namespace

Qt::CaseSensitivity FolderCase::of(const QString& folder)
{
    QString existing = QDir::cleanPath(QDir(folder).absolutePath());
    while (!QFileInfo(existing).isDir()) {
        const QString parent = QFileInfo(existing).path();
        if (parent == existing)
            return usualRule();
        existing = parent;
    }
    // The first real entry with a letter in it (a link's target may lie on
    // another file system).
    for (QDirIterator it(existing, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot
                                       | QDir::NoSymLinks);
         it.hasNext();) {
        const QString name = QFileInfo(it.next()).fileName();
        if (swapped(name) != name)
            return foundSpeltOtherwise(existing, name) ? Qt::CaseInsensitive : Qt::CaseSensitive;
    }
    // Nothing with a letter in it: a file of our own, removed at once.
    QTemporaryFile probe(QDir(existing).filePath(
        QString::fromLatin1(AtomicFileWriter::temporaryPrefix(QCoreApplication::applicationPid())) + "XXXXXX"));
    if (!probe.open())
        return usualRule();
    return foundSpeltOtherwise(existing, QFileInfo(probe.fileName()).fileName()) ? Qt::CaseInsensitive
                                                                                : Qt::CaseSensitive;
}

QString FolderCase::otherSpelling(const QString& folder, const QString& name)
{
    const QString path = QDir(folder).filePath(name);
    if ((!QFileInfo::exists(path) && !QFileInfo(path).isSymLink()) || of(folder) == Qt::CaseSensitive)
        return QString(); // free, or there under exactly this name
    const QStringList entries =
        QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    if (entries.contains(name))
        return QString();
    for (const QString& entry : entries)
        if (entry.compare(name, Qt::CaseInsensitive) == 0)
            return entry;
    return name; // found under a spelling Qt's comparison does not know
}

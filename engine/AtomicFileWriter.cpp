#include "AtomicFileWriter.h"

#include <QCoreApplication>
#include <QSaveFile>

bool AtomicFileWriter::write(const QString& path, const QByteArray& bytes, QString* error,
                             const QDateTime& modified)
{
    QSaveFile file(path);
    // Writing in place would defeat the point when the folder refuses a
    // temporary file.
    file.setDirectWriteFallback(false);
    const bool written = file.open(QIODevice::WriteOnly)
        && file.write(bytes) == bytes.size()
        // Set on the complete temporary file (flushed first, or the last
        // buffered write would stamp it again), so the rename publishes it
        // with its date.
        && file.flush()
        && (!modified.isValid() || file.setFileTime(modified, QFileDevice::FileModificationTime))
        && file.commit();
    if (!written) {
        if (error)
            *error = QCoreApplication::translate("AtomicFileWriter", "cannot write %1: %2")
                         .arg(path, file.errorString());
        file.cancelWriting();
    }
    return written;
}

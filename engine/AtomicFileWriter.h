#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

// Writes a whole file or nothing: the bytes go to a temporary file beside the
// target, which replaces the target only once it is complete. A crash, a full
// disk or a cancel never leaves half a JPEG or a stray temporary file.
class AtomicFileWriter
{
public:
    AtomicFileWriter() = delete;

    // True once the file is complete on disk. An existing file of that name
    // is replaced. On failure `error` says why, naming the path. A valid
    // `modified` becomes the file's modification time (photo libraries sort
    // a converted photo by its source's date).
    static bool write(const QString& path, const QByteArray& bytes, QString* error = nullptr,
                      const QDateTime& modified = QDateTime());
};

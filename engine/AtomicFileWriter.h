#pragma once

#include <QByteArray>
#include <QString>

// Writes a whole file or nothing: the bytes go to a temporary file beside the
// target, which replaces the target only once it is complete. A crash, a full
// disk or a cancel never leaves half a JPEG or a stray temporary file.
class AtomicFileWriter
{
public:
    AtomicFileWriter() = delete;

    // True once the file is complete on disk. An existing file of that name
    // is replaced. On failure `error` says why, naming the path.
    static bool write(const QString& path, const QByteArray& bytes, QString* error = nullptr);
};

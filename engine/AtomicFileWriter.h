#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

// Writes a whole file or nothing: the bytes go to a hidden temporary file
// beside the target (".NAME.jpg.XXXXXX"), which replaces the target only once
// it is complete. A crash, a full disk or a cancel never leaves half a JPEG.
//
// The target's name is replaced, never followed: a symbolic link at the
// output name is itself replaced by the new file, and the file it pointed at
// is left alone. A temporary file left by a killed earlier run is removed the
// next time the same file is written.
class AtomicFileWriter
{
public:
    AtomicFileWriter() = delete;

    // True once the file is complete on disk. An existing file of that name
    // is replaced (and keeps its permissions). On failure `error` says why as
    // "cannot write PATH: REASON", REASON being the system's own words ("No
    // space left on device"). A valid `modified` becomes the file's
    // modification time (photo libraries sort a converted photo by its
    // source's date).
    static bool write(const QString& path, const QByteArray& bytes, QString* error = nullptr,
                      const QDateTime& modified = QDateTime());

    // Whether a file can be made in `folder`: a hidden temporary file is made
    // and removed again. On failure `reason` gets the system's words.
    static bool canWriteInto(const QString& folder, QString* reason = nullptr);

    // The system's words for an error number, always in English ("Read-only
    // file system"), whatever the user's language: they are matched by
    // callers and read in logs.
    static QString reason(int errorNumber);

    // Removes the temporary files of the writes under way. Safe to call from
    // a signal handler (SIGINT, SIGTERM) just before the process ends: it only
    // calls unlink().
    static void removeTemporaryFiles();
};

#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

// Writes a whole file or nothing: the bytes go to a hidden temporary file
// beside the target, which replaces the target only once it is complete. A
// crash, a full disk or a cancel never leaves half a JPEG.
//
// The temporary file's name is ours beyond doubt and short whatever the
// target is called: ".pictova-PID-HOST-XXXXXX" (see temporaryPrefix()). The
// first write into a folder removes the temporary files there whose writing
// process has gone (what a killed run left); another run's files under way,
// and the person's own files, are never touched.
//
// The target's name is replaced, never followed: a symbolic link at the
// output name is itself replaced by the new file, and the file it pointed at
// is left alone.
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

    // How the temporary files of process `pid` on this machine begin: a fixed
    // tag, the pid, and four hex digits of the machine's name.
    static QByteArray temporaryPrefix(qint64 pid);

    // The system's words for an error number, always in English ("Read-only
    // file system"), whatever the user's language: they are matched by
    // callers and read in logs.
    static QString reason(int errorNumber);

    // Removes the temporary files of the writes under way. Safe to call from
    // a signal handler (SIGINT, SIGTERM) just before the process ends: it only
    // calls unlink().
    static void removeTemporaryFiles();
};

#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>

// Turns the FILE|FOLDER arguments into the list of photos to convert.
//
// A file argument is taken whatever its name: the user named it, and the
// decoder says clearly when it is not a photo. A folder argument takes the
// files directly inside it whose names end in .heic or .heif in any case
// (with `recursive`, those of every sub-folder too), sorted by path so runs
// are repeatable. Hidden files are left out: the "._IMG_0001.HEIC" companions
// that macOS leaves on camera cards are not photos.
class InputScanner
{
public:
    struct Problem
    {
        QString path;
        QString reason;
    };

    struct Result
    {
        QStringList files;         // absolute, cleaned, each photo once, in argument order
        QVector<Problem> missing;  // arguments that name nothing
        QVector<Problem> repeated; // photos named more than once (converted once)
        QStringList notes;         // folders that held no photo, with a hint
        bool stopped = false;      // `stopRequested` said so; the lists are partial
    };

    InputScanner() = delete;

    // `stopRequested` is asked between files, so a Ctrl-C during a scan of a
    // whole disk takes effect at once rather than when the walk ends.
    static Result scan(const QStringList& arguments, bool recursive,
                       const std::function<bool()>& stopRequested = {});

    // True for names ending in .heic or .heif, in any case.
    static bool isPhotoName(const QString& fileName);
};

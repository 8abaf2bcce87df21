#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>

// Turns the FILE|FOLDER arguments of pictova-convert, and the files and
// folders handed to the window, into the list of photos to convert.
//
// A file argument is taken whatever its name: the user named it, and the
// decoder says clearly when it is not a photo. A folder argument takes the
// files directly inside it whose names end in .heic, .heif or .hif in any
// case (with `recursive`, those of every sub-folder too), sorted by path so
// runs are repeatable. Hidden files and folders are left out: the
// "._IMG_0001.HEIC" companions that macOS leaves on camera cards are not
// photos. Links to folders are not followed. A folder that cannot be listed
// is a failure with the system's reason, never a silent gap.
class InputScanner
{
public:
    struct Problem
    {
        QString path;
        QString reason;
    };

    struct Photo
    {
        QString path; // absolute, cleaned
        QString root; // the FOLDER argument it was found in; empty when named itself
    };

    struct Result
    {
        QVector<Photo> photos;     // each photo once, in argument order
        QVector<Problem> failed;   // arguments that name nothing, folders that cannot be listed
        QVector<Problem> repeated; // photos named more than once (converted once)
        QStringList notes;         // folders that held no photo, with a hint
        int otherFiles = 0;        // files in the folders that are no photos
        bool stopped = false;      // `stopRequested` said so; the lists are partial
    };

    InputScanner() = delete;

    // `stopRequested` is asked between files, so a Ctrl-C during a scan of a
    // whole disk takes effect at once rather than when the walk ends.
    static Result scan(const QStringList& arguments, bool recursive,
                       const std::function<bool()>& stopRequested = {});

    // True for names ending in .heic, .heif or .hif, in any case.
    static bool isPhotoName(const QString& fileName);

    // Why the folder cannot be listed (the system's words); empty when it can.
    static QString listingError(const QString& folder);
};

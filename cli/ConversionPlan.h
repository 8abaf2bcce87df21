#pragma once

#include "InputScanner.h"

#include <QString>
#include <QStringList>
#include <QVector>

// Where every photo of a run will be written, worked out before anything is
// written, so that no photo's JPEG can replace another photo's JPEG or a
// photo itself.
//
// Without an output folder each JPEG goes beside its photo. With one, into
// that folder; a photo found below a FOLDER argument keeps its sub-folders
// there (FOLDER/DCIM/100APPLE/IMG_1.HEIC gives OUT/DCIM/100APPLE/IMG_1.jpg),
// so photos of one name in different folders never meet. The name is
// OutputNaming::jpegFileName().
class ConversionPlan
{
public:
    struct Job
    {
        QString source;
        QString target; // absolute, cleaned
    };

    // Several photos that would all be written to `target`, or a photo whose
    // JPEG would replace another photo of the run (`target` is that photo).
    struct Clash
    {
        QString target;
        QStringList sources;
        bool replacesInput = false;
    };

    ConversionPlan() = delete;

    struct Result
    {
        QVector<Job> jobs;
        QVector<Clash> clashes;
        // With `keepExisting`: photos whose JPEG is already there.
        QVector<InputScanner::Problem> kept;
    };

    // `outputFolder` is absolute and cleaned, or empty (beside each photo).
    // Names that differ only in case clash where the target folder's file
    // system ignores case (FolderCase), not by the rule of the system we
    // run on: a FAT card on Linux ignores it.
    static Result make(const QVector<InputScanner::Photo>& photos, const QString& outputFolder,
                       bool keepExisting = false);
};

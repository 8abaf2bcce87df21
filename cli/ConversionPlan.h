#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

// Where every photo of a run will be written, worked out before anything is
// written, with the workers' own naming rules (OutputNaming), so that no
// photo's JPEG can replace another photo's JPEG or a photo itself.
class ConversionPlan
{
public:
    struct Job
    {
        QString source;
        QString target; // cleaned: the worker writes the same file, maybe through "//"
    };

    // Several photos that would all be written to `target`, or a photo whose
    // JPEG would replace another photo of the run (`target` is that photo).
    struct Clash
    {
        QString target;
        QStringList sources;
        bool replacesInput = false;
    };

    // A photo that cannot be converted at all: its name has an ending the
    // rule keeps (".Heic", ".heif") and it already lies in the output folder,
    // so its JPEG would replace it.
    struct Refusal
    {
        QString source;
        QString reason;
    };

    ConversionPlan() = delete;

    struct Result
    {
        QString folder; // the folder the workers will write into (cleaned)
        QVector<Job> jobs;
        QVector<Clash> clashes;
        QVector<Refusal> refusals;
    };

    // `sources` are absolute, cleaned paths, each once. `savePath` is the
    // folder the workers are given (empty: the desktop); `desktop` stands in
    // for the user's desktop folder.
    static Result make(const QStringList& sources, const QString& savePath, const QString& desktop);

    // Whether two names that differ only in case are one file here.
    static Qt::CaseSensitivity fileNameCase();
};

#pragma once

#include "ConversionOptions.h"

#include <QString>

// What the person chose last, kept across restarts (QSettings, per user):
// where the JPEGs go, their quality and options, and the folder the file
// choosers open in. The single photo and the batch share them, so a choice
// made in one holds in the other.
class SavedChoices
{
public:
    SavedChoices() = delete;

    struct Output
    {
        QString saveFolder;        // as chosen (empty: the desktop); its Vantora folder is written into
        bool besidePhotos = false; // each JPEG beside its photo instead
        int quality = 100;
        ConversionOptions options;
    };

    // Values that were never saved, or make no sense any more (a quality out
    // of range, a folder that is gone), come back as the defaults.
    static Output output();
    static void setOutput(const Output& output);

    // The folder of the last chosen or dropped photo or folder; empty when
    // none was kept or it is gone.
    static QString lastFolder();
    static void setLastFolder(const QString& folder);

    // Back to the defaults, as on a first start.
    static void forget();
};

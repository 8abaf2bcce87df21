#pragma once

#include "InputScanner.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

// What counts as a photo the program takes, where the file choosers open,
// and the capture date a photo carries.
class PhotoFiles
{
public:
    PhotoFiles() = delete;

    // True for every HEIF ending, in any case: .heic, .heif, .hif.
    static bool isHeifName(const QString& path);

    // The local HEIF photos among dropped URLs, in order; `leftOut` counts
    // the rest.
    static QStringList heifPaths(const QList<QUrl>& urls, int* leftOut);
    // Tells how many dropped files were not taken, and why.
    static QString leftOutText(int leftOut);
    // For the pages that open one photo: the first HEIF photo among dropped
    // URLs (empty when there is none); `note` tells what else the drop held
    // and why it was left out (empty when nothing was), `leftOut` counts it.
    static QString firstPhoto(const QList<QUrl>& urls, QString* note, int* leftOut = nullptr);

    // What the window takes from files and folders handed to it (dropped,
    // given as the program's arguments, passed on by a later start): the
    // HEIF photos named, and those in every folder and its sub-folders, each
    // with the folder it was found in (InputScanner::Photo::root), so its
    // sub-folders can be made again below the output folder.
    struct Collected
    {
        QVector<InputScanner::Photo> photos;
        int leftOut = 0;          // files that are no HEIF photos
        QStringList unreadable;   // "path: reason" for what could not be read
        bool fromFolder = false;  // a folder was among the paths
    };
    static Collected collect(const QStringList& paths);
    // collect() on the local files among dropped URLs; other URLs are left out.
    static Collected collect(const QList<QUrl>& urls);
    // What the person is told about what was not taken; empty when all was.
    static QString notTakenText(const Collected& collected);
    // What the person is told after `added` of the collected photos went into
    // the list: how many were added (when a folder was among the paths, whose
    // count nobody could know beforehand) and what was not taken; empty when
    // there is nothing to say.
    static QString addedText(const Collected& collected, int added);

    // The choosers' filter. File dialogs match it without regard to case.
    static QString nameFilter();

    // Where a chooser opens: the folder used last (kept across restarts),
    // else the Pictures folder, else home.
    static QString startFolder();
    // Remembers the folder of a chosen file, or a chosen folder itself.
    static void rememberFolder(const QString& fileOrFolder);

    // The moment the photo was taken, from the EXIF of a JPEG (DateTimeOriginal,
    // else DateTimeDigitized); invalid when the JPEG carries neither.
    static QDateTime captureDate(const QByteArray& jpeg);
};

#pragma once

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

    // The choosers' filter. File dialogs match it without regard to case.
    static QString nameFilter();

    // Where a chooser opens: the folder used last in this session, else the
    // Pictures folder, else home.
    static QString startFolder();
    // Remembers the folder of a chosen file, or a chosen folder itself.
    static void rememberFolder(const QString& fileOrFolder);

    // The moment the photo was taken, from the EXIF of a JPEG (DateTimeOriginal,
    // else DateTimeDigitized); invalid when the JPEG carries neither.
    static QDateTime captureDate(const QByteArray& jpeg);
};

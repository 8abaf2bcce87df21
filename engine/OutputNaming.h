#pragma once

#include <QString>
#include <QStringList>

// Where converted files go and what they are called. Pure functions, shared
// by the batch workers, the preview page and the command-line converter.
//
// Each folder rule takes the save path the user chose (empty: none) and
// returns the folder to write into, which the caller also keeps as its new
// save path. The overloads without `desktop` use the user's desktop folder.
class OutputNaming
{
public:
    OutputNaming() = delete;

    static QString desktopFolder();

    // Batch workers. Empty: desktop + "/Vantora/" (trailing slash kept, so
    // names are appended with a doubled separator); containing "/Vantora"
    // (case-sensitive, anywhere): unchanged; otherwise + "/Vantora".
    static QString workerFolder(const QString& savePath);
    static QString workerFolder(const QString& savePath, const QString& desktop);

    // Preview page. Like the workers, except the default has no trailing
    // slash and a drive root such as "D:/" becomes "D:/Vantora".
    static QString previewFolder(const QString& savePath);
    static QString previewFolder(const QString& savePath, const QString& desktop);

    // The folder "Open Folder" shows after a batch: the worker rule without
    // the trailing slash on the default.
    static QString openFolderPath(const QString& savePath);
    static QString openFolderPath(const QString& savePath, const QString& desktop);

    // ".HEIC" and then ".heic" replaced by ".jpg" everywhere in the name,
    // case-sensitively: "a.HEIC.heic" gives "a.jpg.jpg", "b.Heic" stays.
    static QString outputFileName(const QString& fileName);

    // The desktop program's JPEG name: outputFileName(), and when that still
    // ends in a HEIF ending of another spelling (".Heic", ".heif", ".HIF"),
    // that ending becomes ".jpg", so no JPEG is written under a photo's name.
    static QString desktopJpegName(const QString& fileName);

    // The JPEG paths of one run, in the order of `sources`, all in `folder`.
    // A name already taken by an earlier photo of the same run gets " (2)",
    // " (3)"... before ".jpg", so no photo of a run replaces another. Names
    // are compared without regard to case, as on Windows and macOS disks.
    static QStringList runTargets(const QString& folder, const QStringList& sources);
    // The same for photos that go into folders of their own (`folders`, one
    // per source): names are kept apart within each folder. With
    // `keepExisting` a file already at a name is kept too, and the JPEG
    // takes the next free " (n)": beside the photos, a camera's own JPEG of
    // the same name must never be replaced.
    static QStringList runTargets(const QStringList& folders, const QStringList& sources, bool keepExisting);

    // The folder each photo of a run goes into: `runFolder`, with the
    // sub-folders between the folder a photo was added from (`roots`, one per
    // source; empty for a photo added on its own) and the photo made again
    // below it, as pictova-convert -r -o does; or, `besidePhotos`, the
    // photo's own folder.
    static QStringList runFolders(const QString& runFolder, const QStringList& sources, const QStringList& roots,
                                  bool besidePhotos);

    // The deepest folder that holds all of `folders` (what "Open Folder"
    // shows when the JPEGs went beside their photos); empty for none.
    static QString commonFolder(const QStringList& folders);

    // The command-line converter's name: a HEIF ending (".heic", ".heif",
    // ".hif", any case) replaced by ".jpg", any other name with ".jpg"
    // added, so the JPEG never keeps a photo's name: "IMG_1.HIF" gives
    // "IMG_1.jpg", "scan" gives "scan.jpg".
    static QString jpegFileName(const QString& fileName);

    // folder + "/" + the output name of the source's file name, exactly as
    // written (a folder ending in "/" gives a doubled separator).
    static QString targetPath(const QString& folder, const QString& sourcePath);
};

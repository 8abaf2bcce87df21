#pragma once

#include <QString>

// How a folder's file system compares file names, found by asking it rather
// than assumed from the system we run on: a camera card (FAT, exFAT) or a
// Windows share mounted on Linux ignores case, a case-sensitive folder can
// exist on Windows. A name that exists in the folder is looked up again in
// another spelling; where that finds it although no entry is spelt so, the
// file system ignores case.
class FolderCase
{
public:
    FolderCase() = delete;

    // The rule of `folder`, or of its nearest existing parent when it does
    // not exist yet. A folder with no name in it to try, where no file can
    // be made either, gets the usual rule of this system.
    static Qt::CaseSensitivity of(const QString& folder);

    // The entry of `folder` that `name` finds under another spelling (the
    // camera's "IMG_0001.JPG" for "IMG_0001.jpg"); empty when the name is
    // free or spelt exactly so.
    static QString otherSpelling(const QString& folder, const QString& name);
};

#pragma once

#include <QByteArray>
#include <QString>

// What the about box and the product configuration need from the system,
// behind one set of static functions. ProductPlatformWin.cpp and
// ProductPlatformPosix.cpp implement it; CMake compiles the one that fits,
// so callers never need #ifdef.
class ProductPlatform
{
public:
    ProductPlatform() = delete;

    // The "FileVersion" text of a program file: its version resource on
    // Windows; elsewhere, where programs carry no such resource, the version
    // this build was made with when path is the running program. Empty when
    // the file has no version.
    static QString fileVersion(const QString& path);

    // The folder that holds the Start-menu program links: the all-users
    // Start menu on Windows, the user's applications folder elsewhere.
    static QString startMenuProgramsDir();

    // The full path of the file a shortcut points at (a shell link on
    // Windows, a symbolic link elsewhere); empty when it cannot be resolved.
    static QString shortcutTarget(const QString& linkPath);

    // Text in the system's 8-bit code page (the ANSI code page on Windows),
    // as Internet-shortcut files are read.
    static QByteArray toAnsiCodePage(const QString& text);

    // Starts the build-side signing script on a file in the current folder
    // ("cmd.exe /C signtool.bat" on Windows, "sh signtool.sh" elsewhere) and
    // does not wait for it.
    static bool startSigningScript(const QString& file);
};

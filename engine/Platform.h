#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <optional>

// Everything that differs between Windows and the other systems, behind one
// set of static functions. PlatformWin.cpp and PlatformPosix.cpp implement
// it; CMake compiles the one that fits, so callers never need #ifdef.
class Platform
{
public:
    Platform() = delete;

    // Takes the per-user lock that lets one copy of the program run at a
    // time. True when this process is the first holder, false when another
    // running process holds it. `handle` receives the lock's handle (0 when
    // none); the lock is never given back: the system drops it when the
    // process ends, crashes included. The lock lives where only this user
    // can reach it (a session-local mutex on Windows, a file in a folder
    // that only the user owns elsewhere), so nobody else can take it. A lock
    // that cannot be made at all counts as held by us, so a broken set-up
    // never stops the program; `problem` then says why (empty otherwise).
    static bool acquireInstanceLock(const QString& name, quintptr* handle,
                                    QString* problem = nullptr);

    // The name the first copy's QLocalServer listens on, for later starts of
    // the same user in the same session: a socket beside the lock file here,
    // a per-user, per-session pipe name on Windows. Empty when there is no
    // safe place for it (`problem` says why).
    static QString instanceChannelName(const QString& name, QString* problem = nullptr);

    // Lets the running copy bring its window to the front when this process
    // hands it work (Windows only lets the foreground process do that).
    static void allowForegroundHandoff();

    // The file name a shared library with this base name has here:
    // "Decodex.dll" on Windows, "libDecodex.so" on Linux.
    static QString libraryFileName(const QString& baseName);

    // Loads `library` (a bare file name, searched the system's usual way, or
    // a path) and returns the address of its export `symbol`. The library is
    // never unloaded: the pointers handed out stay valid until the process
    // ends. On failure returns null and, when `error` is given, says why.
    static QFunctionPointer resolveFunction(const QString& library, const char* symbol,
                                            QString* error = nullptr);

    // Bytes of physical memory in the machine; 0 when the system does not say.
    static qint64 physicalMemory();

    // `bytes` of zeroed memory whose pages the system hands out only as they
    // are first written (mmap, VirtualAlloc), whatever the allocator would
    // do; null when the address range cannot be had. Give it back with
    // releaseMemory().
    static void* reserveMemory(size_t bytes);
    static void releaseMemory(void* memory, size_t bytes);

    // Whether process `pid` runs on this machine (as any user).
    static bool processRunning(qint64 pid);

    // Shows the folder in the system's file manager; false if that could not
    // be started.
    static bool openFolder(const QString& folder);

    // Product configuration and about box.

    // The "FileVersion" text of a program file: its version resource on
    // Windows; elsewhere, where programs carry no such resource, the version
    // this build was made with when path is the running program. Empty when
    // the file has no version.
    static QString fileVersion(const QString& path);

    // The folder that holds the Start-menu program links: the all-users
    // Start menu on Windows, the user's applications folder elsewhere.
    static QString startMenuProgramsDir();

    // One value of an INI file read with the system's own profile call
    // (GetPrivateProfileStringW on Windows); nothing where the system has no
    // such call, and PrivateProfile then reads the file the same way itself.
    static std::optional<QString> readProfileString(const QString& file, const QString& section,
                                                    const QString& key, const QString& fallback);

    // Writes one value with the system's profile call
    // (WritePrivateProfileStringW); nothing where there is none, as above.
    static std::optional<bool> writeProfileString(const QString& file, const QString& section,
                                                  const QString& key, const QString& value);

    // The full path of the file a shortcut points at (a shell link on
    // Windows, a symbolic link elsewhere); empty when it cannot be resolved.
    static QString shortcutTarget(const QString& linkPath);

    // Text in the system's 8-bit code page (the ANSI code page on Windows),
    // the encoding Internet-shortcut files are read in.
    static QByteArray toAnsiCodePage(const QString& text);

    // Starts the build-side signing script on a file in the current folder
    // ("cmd.exe /C signtool.bat" on Windows, "sh signtool.sh" elsewhere)
    // without waiting for it.
    static bool startSigningScript(const QString& file);
};

#include "Platform.h"

#include <QDir>
#include <QProcess>

#include <windows.h>

bool Platform::acquireInstanceLock(const QString& name, quintptr* handle)
{
    // Initial owner, no security attributes, the name in the session's name
    // space. The handle is never closed: Windows removes the mutex with the
    // process's last handle, also after a crash.
    const HANDLE mutex = ::CreateMutexW(nullptr, TRUE, reinterpret_cast<const wchar_t*>(name.utf16()));
    const DWORD error = ::GetLastError();
    *handle = reinterpret_cast<quintptr>(mutex);
    return error != ERROR_ALREADY_EXISTS;
}

QString Platform::libraryFileName(const QString& baseName)
{
    return baseName + QStringLiteral(".dll");
}

QFunctionPointer Platform::resolveFunction(const QString& library, const char* symbol,
                                           QString* error)
{
    QString name = QDir::toNativeSeparators(library);
    if (!name.endsWith(QStringLiteral(".dll"), Qt::CaseInsensitive))
        name += QStringLiteral(".dll");
    // A bare name gets the normal search order, the executable's folder first.
    // The module handle is deliberately never freed.
    const HMODULE module = ::LoadLibraryW(reinterpret_cast<const wchar_t*>(name.utf16()));
    if (!module) {
        if (error)
            *error = QStringLiteral("cannot load %1: %2")
                         .arg(name, qt_error_string(static_cast<int>(::GetLastError())));
        return nullptr;
    }
    const FARPROC function = ::GetProcAddress(module, symbol);
    if (!function) {
        if (error)
            *error = QStringLiteral("%1 has no function %2").arg(name, QString::fromLatin1(symbol));
        return nullptr;
    }
    return reinterpret_cast<QFunctionPointer>(function);
}

bool Platform::openFolder(const QString& folder)
{
    // Explorer wants backslashes; with forward slashes it opens "Documents".
    // The path goes as its own argument so QProcess quotes a folder with
    // blanks instead of splitting it.
    QString path = folder;
    path.replace(QLatin1Char('/'), QLatin1Char('\\'));
    return QProcess::startDetached(QStringLiteral("explorer"), {path});
}

#include "Platform.h"

#include <QDesktopServices>
#include <QLibrary>
#include <QUrl>

QString Platform::libraryFileName(const QString& baseName)
{
#if defined(Q_OS_MACOS)
    return QStringLiteral("lib%1.dylib").arg(baseName);
#else
    return QStringLiteral("lib%1.so").arg(baseName);
#endif
}

QFunctionPointer Platform::resolveFunction(const QString& library, const char* symbol,
                                           QString* error)
{
    // QLibrary's destructor leaves the library loaded, which is what we want:
    // the function pointers must outlive this object.
    QLibrary lib(library);
    if (!lib.load()) {
        if (error)
            *error = lib.errorString();
        return nullptr;
    }
    const QFunctionPointer function = lib.resolve(symbol);
    if (!function && error)
        *error = QStringLiteral("%1 has no function %2")
                     .arg(lib.fileName(), QString::fromLatin1(symbol));
    return function;
}

bool Platform::openFolder(const QString& folder)
{
    return QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
}

#include "Platform.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QFileInfo>
#include <QLibrary>
#include <QProcess>
#include <QStandardPaths>
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

QString Platform::fileVersion(const QString& path)
{
    const QString file = QFileInfo(path).canonicalFilePath();
    if (file.isEmpty())
        return QString();
    const QString self = QFileInfo(QCoreApplication::applicationFilePath()).canonicalFilePath();
    return file == self ? QStringLiteral(PICTOVA_VERSION) : QString();
}

QString Platform::startMenuProgramsDir()
{
    return QStandardPaths::writableLocation(QStandardPaths::ApplicationsLocation);
}

QString Platform::shortcutTarget(const QString& linkPath)
{
    const QFileInfo link(linkPath);
    if (!link.isSymLink())
        return QString();
    return link.symLinkTarget();
}

QByteArray Platform::toAnsiCodePage(const QString& text)
{
    return text.toLocal8Bit();
}

bool Platform::startSigningScript(const QString& file)
{
    return QProcess::startDetached(QStringLiteral("sh"),
                                   {QStringLiteral("signtool.sh"), file});
}

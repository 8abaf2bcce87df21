#include "Platform.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QFileInfo>
#include <QLibrary>
#include <QProcess>
#include <QUrl>

#include <QDir>
#include <QFile>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

bool Platform::acquireInstanceLock(const QString& name, quintptr* handle)
{
    *handle = 0;
    // The runtime folder is per user and per session, like the name space of
    // a Windows named mutex. flock() belongs to the open file, so the kernel
    // drops it when the process dies, however it dies.
    // Without a runtime folder (a bare session), the shared temp folder with
    // the user id in the name keeps users apart; a file another user made
    // there only fails the open, which counts as the first copy.
    QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (folder.isEmpty() || !QDir(folder).exists())
        folder = QDir::tempPath();
    const QString path =
        QStringLiteral("%1/%2-%3.lock").arg(folder, name, QString::number(::getuid()));
    // Close-on-exec: a browser or file manager started by us must not inherit
    // the lock and keep the next copy out after we have gone. No following a
    // link planted in a shared temp folder.
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0) {
        qWarning("Pictova: cannot create the instance lock %s: %s", qPrintable(path),
                 strerror(errno));
        return true;
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const bool heldByOther = errno == EWOULDBLOCK;
        if (heldByOther) {
            ::close(fd);
            return false;
        }
        qWarning("Pictova: cannot lock %s: %s", qPrintable(path), strerror(errno));
    }
    *handle = static_cast<quintptr>(fd);
    return true;
}

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

qint64 Platform::physicalMemory()
{
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGESIZE);
    return pages > 0 && pageSize > 0 ? qint64(pages) * pageSize : 0;
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

std::optional<QString> Platform::readProfileString(const QString&, const QString&,
                                                  const QString&, const QString&)
{
    return std::nullopt;
}

std::optional<bool> Platform::writeProfileString(const QString&, const QString&, const QString&,
                                                 const QString&)
{
    return std::nullopt;
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

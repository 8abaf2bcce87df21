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
#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// A folder that only this user can enter, for the lock and the socket:
// $XDG_RUNTIME_DIR when it is set and sound, else "pictova-UID" in the
// temporary folder, made 0700 here. Anybody may make a folder of that name
// in /tmp first, so it is checked through the descriptor we opened (no link
// followed): it must be ours and closed to everyone else. Empty when no such
// folder can be had; `problem` says why.
QString privateFolder(QString* problem)
{
    const uid_t uid = ::getuid();
    auto sound = [uid](const QString& path, bool fixMode, QString* why) {
        const int fd = ::open(QFile::encodeName(path).constData(),
                              O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (fd < 0) {
            *why = QStringLiteral("cannot open %1: %2").arg(path, QString::fromLocal8Bit(strerror(errno)));
            return false;
        }
        struct stat info = {};
        bool ok = ::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode);
        if (ok && info.st_uid != uid) {
            *why = QStringLiteral("%1 belongs to another user").arg(path);
            ok = false;
        } else if (ok && (info.st_mode & 077) != 0 && !(fixMode && ::fchmod(fd, 0700) == 0)) {
            *why = QStringLiteral("%1 is open to other users").arg(path);
            ok = false;
        }
        ::close(fd);
        return ok;
    };

    QString why;
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && sound(runtime, false, &why))
        return runtime;
    QString problems = runtime.isEmpty() ? QString() : why + QStringLiteral("; ");
    const QString folder = QStringLiteral("%1/pictova-%2").arg(QDir::tempPath()).arg(uid);
    if (::mkdir(QFile::encodeName(folder).constData(), 0700) != 0 && errno != EEXIST) {
        why = QStringLiteral("cannot make %1: %2").arg(folder, QString::fromLocal8Bit(strerror(errno)));
    } else if (sound(folder, true, &why)) {
        return folder;
    }
    if (problem)
        *problem = problems + why;
    return QString();
}

} // namespace

bool Platform::acquireInstanceLock(const QString& name, quintptr* handle, QString* problem)
{
    *handle = 0;
    // flock() belongs to the open file, so the kernel drops it when the
    // process dies, however it dies.
    QString why;
    const QString folder = privateFolder(&why);
    if (folder.isEmpty()) {
        if (problem)
            *problem = QStringLiteral("no private folder for the one-copy lock (%1)").arg(why);
        return true;
    }
    const QString path = folder + QLatin1Char('/') + name + QStringLiteral(".lock");
    // Close-on-exec: a browser or file manager started by us must not inherit
    // the lock and keep the next copy out after we have gone.
    const QByteArray file = QFile::encodeName(path);
    int fd = ::open(file.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    struct stat info = {};
    if (fd >= 0 && ::fstat(fd, &info) == 0 && info.st_uid != ::getuid()) {
        // Left by someone while the folder stood open (we have just closed
        // it): theirs to lock, so it is replaced by one of ours.
        ::close(fd);
        ::unlink(file.constData());
        fd = ::open(file.constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    }
    if (fd < 0) {
        if (problem)
            *problem = QStringLiteral("cannot make the lock %1: %2").arg(path, QString::fromLocal8Bit(strerror(errno)));
        return true;
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK) {
            ::close(fd);
            return false;
        }
        if (problem)
            *problem = QStringLiteral("cannot lock %1: %2").arg(path, QString::fromLocal8Bit(strerror(errno)));
    }
    *handle = static_cast<quintptr>(fd);
    return true;
}

QString Platform::instanceChannelName(const QString& name, QString* problem)
{
    // A full path: QLocalServer uses it as the socket's file name, inside
    // the folder nobody else can enter.
    const QString folder = privateFolder(problem);
    return folder.isEmpty() ? QString() : folder + QLatin1Char('/') + name + QStringLiteral(".socket");
}

void Platform::allowForegroundHandoff() {}

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

bool Platform::processRunning(qint64 pid)
{
    // EPERM: it runs, as another user.
    return pid > 0 && pid <= qint64(INT32_MAX) && (::kill(pid_t(pid), 0) == 0 || errno == EPERM);
}

void* Platform::reserveMemory(size_t bytes)
{
    void* memory = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory == MAP_FAILED ? nullptr : memory;
}

void Platform::releaseMemory(void* memory, size_t bytes)
{
    if (memory)
        ::munmap(memory, bytes);
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

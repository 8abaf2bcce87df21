#include "AtomicFileWriter.h"

#include "FolderCase.h"
#include "Platform.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSysInfo>

#include <cerrno>
#include <cstring>
#include <mutex>
#include <set>

namespace {

QString failure(const QString& path, const QString& reason)
{
    return QCoreApplication::translate("AtomicFileWriter", "cannot write %1: %2").arg(path, reason);
}

// On a file system that ignores case the name may belong to a file spelt
// otherwise (a camera's own IMG_0001.JPG for our IMG_0001.jpg). That file is
// not ours to replace: true, with the reason, when that is so.
bool spellingTaken(const QString& path, QString* error)
{
    const QFileInfo target(path);
    const QString taken = FolderCase::otherSpelling(target.path(), target.fileName());
    if (taken.isEmpty())
        return false;
    if (error)
        *error = failure(path, QCoreApplication::translate("AtomicFileWriter", "%1 already exists").arg(taken));
    return true;
}

// Four hex digits of this machine's name: two computers writing into one
// network folder have processes of the same number.
QByteArray hostTag()
{
    static const QByteArray tag =
        QCryptographicHash::hash(QSysInfo::machineHostName().toUtf8(), QCryptographicHash::Md5).left(2).toHex();
    return tag;
}

// The pid of a name made by temporaryPrefix() on this machine followed by
// six letters and digits; 0 for any other name.
qint64 writerOf(const QString& name)
{
    static const QRegularExpression ours(QStringLiteral("^\\.pictova-([0-9]{1,9})-([0-9a-f]{4})-[A-Za-z0-9]{6}$"));
    const QRegularExpressionMatch match = ours.match(name);
    return match.hasMatch() && match.captured(2).toLatin1() == hostTag() ? match.captured(1).toLongLong() : 0;
}

// Our temporary files in `folder` whose writer is gone: what a killed run
// left. Looked at once per folder and process; another run's files, and
// anything not named by us, are left alone.
void removeLeftovers(const QString& folder)
{
    static std::mutex mutex;
    static std::set<QString> done;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (!done.insert(folder).second)
            return;
    }
    const QDir dir(folder);
    const QStringList names = dir.entryList({QStringLiteral(".pictova-*")}, QDir::Files | QDir::Hidden | QDir::System);
    for (const QString& name : names) {
        const qint64 writer = writerOf(name);
        const QFileInfo info(dir.filePath(name));
        if (writer != 0 && writer != QCoreApplication::applicationPid() && !Platform::processRunning(writer)
            && info.isFile() && !info.isSymLink())
            QFile::remove(info.filePath());
    }
}

} // namespace

QByteArray AtomicFileWriter::temporaryPrefix(qint64 pid)
{
    return ".pictova-" + QByteArray::number(pid) + '-' + hostTag() + '-';
}

#ifdef Q_OS_WIN

// The same rules with Windows' calls: the bytes go to a temporary file of
// our own name beside the target, which MoveFileExW puts in place (an
// existing file is replaced, a link at the name is replaced, not followed).
#include <QRandomGenerator>
#include <QSet>
#include <QTemporaryFile>

#include <windows.h>

namespace {

// The temporary files being written, for removeTemporaryFiles() (the C
// runtime calls a SIGINT handler on a thread of its own, so a lock will do).
std::mutex g_liveLock;
QSet<QString> g_live;

// Paths beyond MAX_PATH reach the file calls only in their extended form.
std::wstring extendedPath(const QString& path)
{
    const QString native = QDir::toNativeSeparators(QFileInfo(path).absoluteFilePath());
    const QLatin1String extended("\\\\?\\");
    if (native.startsWith(extended))
        return native.toStdWString();
    if (native.startsWith(QLatin1String("\\\\"))) // \\server\share
        return (QLatin1String("\\\\?\\UNC\\") + native.mid(2)).toStdWString();
    return (extended + native).toStdWString();
}

// Makes a file of our temporary name beside the target, open for writing;
// Qt's temporary file would keep its handle open until it is destroyed, and
// the move needs it closed.
HANDLE createTemporary(const QString& folder, QString* path)
{
    static const char letters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    const QString prefix = QString::fromLatin1(AtomicFileWriter::temporaryPrefix(QCoreApplication::applicationPid()));
    for (int attempt = 0; attempt < 100; ++attempt) {
        QString suffix;
        for (int i = 0; i < 6; ++i)
            suffix += QLatin1Char(letters[QRandomGenerator::global()->bounded(62)]);
        *path = QDir(folder).filePath(prefix + suffix);
        const HANDLE file = CreateFileW(extendedPath(*path).c_str(), GENERIC_WRITE, 0, nullptr,
                                        CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file != INVALID_HANDLE_VALUE || GetLastError() != ERROR_FILE_EXISTS)
            return file;
    }
    return INVALID_HANDLE_VALUE;
}

} // namespace

bool AtomicFileWriter::write(const QString& path, const QByteArray& bytes, QString* error,
                             const QDateTime& modified)
{
    const QFileInfo target(path);
    const QString name = target.fileName();
    if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String("..")) {
        if (error)
            *error = failure(path, reason(EISDIR));
        return false;
    }
    if (spellingTaken(path, error))
        return false;
    const QString folder = target.absolutePath();
    removeLeftovers(folder);

    // Live from the moment it exists, for removeTemporaryFiles().
    std::unique_lock<std::mutex> live(g_liveLock);
    QString temporary;
    const HANDLE file = createTemporary(folder, &temporary);
    if (file == INVALID_HANDLE_VALUE) {
        if (error)
            *error = failure(path, qt_error_string(static_cast<int>(GetLastError())));
        return false;
    }
    g_live.insert(temporary);
    live.unlock();

    DWORD written = 0;
    bool ok = WriteFile(file, bytes.constData(), static_cast<DWORD>(bytes.size()), &written, nullptr)
        && written == static_cast<DWORD>(bytes.size());
    if (ok && modified.isValid()) {
        // 100-nanosecond ticks since 1601, the file times' unit.
        const quint64 ticks = static_cast<quint64>(modified.toMSecsSinceEpoch() + 11644473600000LL) * 10000;
        FILETIME time{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
        ok = SetFileTime(file, nullptr, nullptr, &time);
    }
    // On disk before it takes the name, so a power cut cannot publish an
    // empty file.
    ok = ok && FlushFileBuffers(file);
    DWORD errorCode = ok ? 0 : GetLastError();
    CloseHandle(file);
    if (ok && !MoveFileExW(extendedPath(temporary).c_str(), extendedPath(path).c_str(),
                           MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        ok = false;
        errorCode = GetLastError();
    }
    live.lock();
    if (!ok)
        DeleteFileW(extendedPath(temporary).c_str());
    g_live.remove(temporary);
    if (!ok && error)
        *error = failure(path, qt_error_string(static_cast<int>(errorCode)));
    return ok;
}

bool AtomicFileWriter::canWriteInto(const QString& folder, QString* reason)
{
    QTemporaryFile probe(
        QDir(folder).filePath(QString::fromLatin1(temporaryPrefix(QCoreApplication::applicationPid())) + "XXXXXX"));
    if (probe.open())
        return true;
    if (reason)
        *reason = probe.errorString();
    return false;
}

QString AtomicFileWriter::reason(int errorNumber)
{
    return QString::fromLocal8Bit(std::strerror(errorNumber));
}

void AtomicFileWriter::removeTemporaryFiles()
{
    const std::lock_guard<std::mutex> lock(g_liveLock);
    for (const QString& path : qAsConst(g_live))
        DeleteFileW(extendedPath(path).c_str());
}

#else

#include <atomic>
#include <fcntl.h>
#include <locale.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

// The temporary files being written, where a signal handler can find them:
// fixed slots, no allocation, each claimed with one atomic exchange. A write
// that finds no free slot still works; only a kill would leave its file,
// which the next write of that name removes.
constexpr int kSlots = 128;
constexpr size_t kPathBytes = 4096;
enum : int { kFree, kClaimed, kLive };

struct Slot
{
    std::atomic_int state{kFree};
    char path[kPathBytes];
};

Slot g_slots[kSlots];

// The umask can only be read by setting it, which would race with other
// threads making files; read once before main() starts any thread.
mode_t readUmask()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return mask;
}
const mode_t g_umask = readUmask();

// The name of a temporary file while it exists: in a slot when one is free.
class TemporaryName
{
public:
    explicit TemporaryName(const QByteArray& pattern)
    {
        for (int i = 0; i < kSlots && m_slot < 0; ++i) {
            int expected = kFree;
            if (g_slots[i].state.compare_exchange_strong(expected, kClaimed))
                m_slot = i;
        }
        if (m_slot >= 0 && size_t(pattern.size()) < kPathBytes) {
            std::memcpy(g_slots[m_slot].path, pattern.constData(), size_t(pattern.size()) + 1);
            m_name = g_slots[m_slot].path;
        } else {
            release();
            m_own.assign(pattern.constData(), pattern.constData() + pattern.size() + 1);
            m_name = m_own.data();
        }
    }
    ~TemporaryName() { release(); }
    TemporaryName(const TemporaryName&) = delete;
    TemporaryName& operator=(const TemporaryName&) = delete;

    // mkostemp() fills in the XXXXXX; the name is live from then on.
    int create()
    {
        const int fd = ::mkostemp(m_name, O_CLOEXEC);
        if (fd >= 0 && m_slot >= 0)
            g_slots[m_slot].state.store(kLive);
        return fd;
    }
    const char* name() const { return m_name; }
    // After a rename or an unlink the name no longer needs cleaning.
    void release()
    {
        if (m_slot >= 0)
            g_slots[m_slot].state.store(kFree);
        m_slot = -1;
    }

private:
    int m_slot = -1;
    std::vector<char> m_own;
    char* m_name = nullptr;
};

bool writeAll(int fd, const char* data, size_t size)
{
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            if (n == 0)
                errno = EIO;
            return false;
        }
        data += n;
        size -= size_t(n);
    }
    return true;
}

} // namespace

bool AtomicFileWriter::write(const QString& path, const QByteArray& bytes, QString* error,
                             const QDateTime& modified)
{
    // Bytes all the way: a name that is not valid UTF-8 is written as it is.
    const QByteArray target = QFile::encodeName(path);
    const int slash = target.lastIndexOf('/');
    const QByteArray folder = slash < 0 ? QByteArray(".") : slash == 0 ? QByteArray("/") : target.left(slash);
    const QByteArray name = target.mid(slash + 1);
    if (name.isEmpty() || name == "." || name == "..") {
        if (error)
            *error = failure(path, reason(EISDIR));
        return false;
    }

    if (spellingTaken(path, error))
        return false;
    removeLeftovers(QFile::decodeName(folder));

    // An existing file keeps its permissions, as an editor saving it would;
    // a new one gets the usual ones. A link at the name is not looked into.
    mode_t mode = 0666 & ~g_umask;
    struct stat existing;
    if (::lstat(target.constData(), &existing) == 0 && S_ISREG(existing.st_mode))
        mode = existing.st_mode & 07777;

    TemporaryName temporary(folder + '/' + temporaryPrefix(::getpid()) + "XXXXXX");
    const int fd = temporary.create();
    if (fd < 0) {
        if (error)
            *error = failure(path, reason(errno));
        return false;
    }

    bool ok = writeAll(fd, bytes.constData(), size_t(bytes.size()));
    // Best effort: FAT and exFAT cards refuse permissions (EPERM), and the
    // JPEG is still wanted there.
    if (ok)
        (void)::fchmod(fd, mode);
    if (ok && modified.isValid()) {
        // Set on the complete file, so the rename publishes it with its date.
        const qint64 ms = modified.toMSecsSinceEpoch();
        timespec times[2];
        times[0].tv_sec = 0;
        times[0].tv_nsec = UTIME_OMIT;
        times[1].tv_sec = time_t(ms / 1000 - (ms % 1000 < 0 ? 1 : 0));
        times[1].tv_nsec = long((ms % 1000 + 1000) % 1000) * 1000000L;
        ok = ::futimens(fd, times) == 0;
    }
    // On disk before it takes the name, so a power cut cannot publish an
    // empty file; file systems that cannot sync say EINVAL, which is fine.
    if (ok && ::fdatasync(fd) != 0 && errno != EINVAL)
        ok = false;
    int savedErrno = errno;
    if (::close(fd) != 0 && ok) {
        ok = false;
        savedErrno = errno;
    }
    // rename() replaces the name itself: a link there is replaced, not
    // followed, and a reader sees the old file or the new one, never half.
    if (ok && ::rename(temporary.name(), target.constData()) != 0) {
        ok = false;
        savedErrno = errno;
    }
    if (!ok) {
        ::unlink(temporary.name());
        if (error)
            *error = failure(path, reason(savedErrno));
    }
    temporary.release();
    return ok;
}

bool AtomicFileWriter::canWriteInto(const QString& folder, QString* why)
{
    TemporaryName probe(QFile::encodeName(folder) + '/' + temporaryPrefix(::getpid()) + "XXXXXX");
    const int fd = probe.create();
    if (fd < 0) {
        if (why)
            *why = reason(errno);
        return false;
    }
    ::close(fd);
    ::unlink(probe.name());
    return true;
}

QString AtomicFileWriter::reason(int errorNumber)
{
    // The "C" locale's words: the user's language could otherwise turn "No
    // space left on device" into a sentence nobody can match.
    static const locale_t cLocale = ::newlocale(LC_ALL_MASK, "C", locale_t(nullptr));
    return QString::fromLocal8Bit(cLocale ? ::strerror_l(errorNumber, cLocale) : std::strerror(errorNumber));
}

void AtomicFileWriter::removeTemporaryFiles()
{
    for (Slot& slot : g_slots)
        if (slot.state.load() == kLive)
            ::unlink(slot.path);
}

#endif

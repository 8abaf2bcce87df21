#include "Platform.h"

#include <QDir>
#include <QProcess>

#include <windows.h>
#include <shellapi.h>
#include <shlobj.h>
#include <shobjidl.h>

#include <memory>
#include <vector>

bool Platform::acquireInstanceLock(const QString& name, quintptr* handle, QString* problem)
{
    // Initial owner, no security attributes, the name in the session's name
    // space, which other users' sessions cannot reach. The handle is never
    // closed: Windows removes the mutex with the process's last handle, also
    // after a crash.
    const HANDLE mutex = ::CreateMutexW(nullptr, TRUE, reinterpret_cast<const wchar_t*>(name.utf16()));
    const DWORD error = ::GetLastError();
    *handle = reinterpret_cast<quintptr>(mutex);
    if (!mutex && problem)
        *problem = QStringLiteral("cannot make the one-copy mutex: %1").arg(qt_error_string(int(error)));
    return error != ERROR_ALREADY_EXISTS;
}

QString Platform::instanceChannelName(const QString& name, QString* problem)
{
    // Pipe names are shared by the whole machine, unlike the mutex: the
    // user and the session keep two people's copies apart. QLocalServer's
    // UserAccessOption keeps everybody else out of the pipe itself.
    DWORD session = 0;
    ::ProcessIdToSessionId(::GetCurrentProcessId(), &session);
    wchar_t user[257] = {};
    DWORD length = 257;
    if (!::GetUserNameW(user, &length)) {
        if (problem)
            *problem = QStringLiteral("cannot tell the user's name: %1")
                           .arg(qt_error_string(int(::GetLastError())));
        return QString();
    }
    return QStringLiteral("%1-%2-%3").arg(name).arg(session).arg(QString::fromWCharArray(user));
}

void Platform::allowForegroundHandoff()
{
    ::AllowSetForegroundWindow(ASFW_ANY);
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

qint64 Platform::physicalMemory()
{
    MEMORYSTATUSEX status = {};
    status.dwLength = sizeof(status);
    return GlobalMemoryStatusEx(&status) ? qint64(status.ullTotalPhys) : 0;
}

bool Platform::processRunning(qint64 pid)
{
    HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, DWORD(pid));
    if (!process)
        return GetLastError() == ERROR_ACCESS_DENIED; // there, but another user's
    DWORD code = 0;
    const bool running = GetExitCodeProcess(process, &code) && code == STILL_ACTIVE;
    CloseHandle(process);
    return running;
}

void* Platform::reserveMemory(size_t bytes)
{
    return VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
}

void Platform::releaseMemory(void* memory, size_t)
{
    if (memory)
        VirtualFree(memory, 0, MEM_RELEASE);
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

namespace {

const wchar_t* wideText(const QString& s)
{
    return reinterpret_cast<const wchar_t*>(s.utf16());
}

// "0409" from 0x409: lower-case hex, padded to four digits.
QString hex4(unsigned value)
{
    return (QStringLiteral("000") + QString::number(value, 16)).right(4);
}

} // namespace

QString Platform::fileVersion(const QString& path)
{
    const QString native = QDir::toNativeSeparators(path);
    const DWORD size = GetFileVersionInfoSizeW(wideText(native), nullptr);
    if (size == 0)
        return QString();
    std::unique_ptr<char[]> buffer(new char[size + 1]());
    if (!GetFileVersionInfoW(wideText(native), 0, size, buffer.get()))
        return QString();

    struct Translation { WORD language; WORD codePage; };
    Translation* translation = nullptr;
    UINT length = 0;
    if (!VerQueryValueW(buffer.get(), L"\\VarFileInfo\\Translation",
                        reinterpret_cast<void**>(&translation), &length)
        || translation == nullptr || length < sizeof(Translation))
        return QString();

    const QString query = QStringLiteral("\\StringFileInfo\\") + hex4(translation->language)
                          + hex4(translation->codePage) + QStringLiteral("\\FileVersion");
    wchar_t* text = nullptr;
    if (!VerQueryValueW(buffer.get(), wideText(query), reinterpret_cast<void**>(&text), &length)
        || text == nullptr || length == 0)
        return QString();
    return QString::fromWCharArray(text);
}

QString Platform::startMenuProgramsDir()
{
    // The all-users Start menu the installer writes to, at its fixed place.
    return QStringLiteral("C:/ProgramData/Microsoft/Windows/Start Menu/Programs");
}

std::optional<QString> Platform::readProfileString(const QString& file, const QString& section,
                                                  const QString& key, const QString& fallback)
{
    const QString native = QDir::toNativeSeparators(file);
    // The call cuts a value at the buffer's end without saying so: a value
    // that filled it may be longer, so read again with room to spare.
    std::vector<wchar_t> buffer(512);
    for (;;) {
        const DWORD length = GetPrivateProfileStringW(
            wideText(section), wideText(key), wideText(fallback), buffer.data(),
            static_cast<DWORD>(buffer.size()), wideText(native));
        if (length + 1 < buffer.size())
            return QString::fromWCharArray(buffer.data(), static_cast<int>(length));
        buffer.resize(buffer.size() * 4);
    }
}

std::optional<bool> Platform::writeProfileString(const QString& file, const QString& section,
                                                 const QString& key, const QString& value)
{
    const QString native = QDir::toNativeSeparators(file);
    return WritePrivateProfileStringW(wideText(section), wideText(key), wideText(value),
                                      wideText(native)) != 0;
}

QString Platform::shortcutTarget(const QString& linkPath)
{
    QString target;
    const HRESULT init = CoInitialize(nullptr);
    IShellLinkW* link = nullptr;
    if (SUCCEEDED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER,
                                   IID_IShellLinkW, reinterpret_cast<void**>(&link)))) {
        IPersistFile* file = nullptr;
        if (SUCCEEDED(link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&file)))) {
            const QString native = QDir::toNativeSeparators(linkPath);
            if (SUCCEEDED(file->Load(wideText(native), STGM_READ))) {
                wchar_t path[MAX_PATH] = {};
                if (SUCCEEDED(link->GetPath(path, MAX_PATH, nullptr, 0)))
                    target = QDir::fromNativeSeparators(QString::fromWCharArray(path));
            }
            file->Release();
        }
        link->Release();
    }
    if (SUCCEEDED(init))
        CoUninitialize();
    return target;
}

QByteArray Platform::toAnsiCodePage(const QString& text)
{
    const int needed = WideCharToMultiByte(CP_ACP, 0, wideText(text), text.size(),
                                           nullptr, 0, nullptr, nullptr);
    QByteArray out(needed, '\0');
    if (needed > 0)
        WideCharToMultiByte(CP_ACP, 0, wideText(text), text.size(), out.data(), needed,
                            nullptr, nullptr);
    return out;
}

bool Platform::startSigningScript(const QString& file)
{
    const QString parameters = QStringLiteral("/C signtool.bat \"%1\"")
                                   .arg(QDir::toNativeSeparators(file));
    const HINSTANCE result = ShellExecuteW(nullptr, L"open", L"cmd.exe", wideText(parameters),
                                           nullptr, SW_SHOW);
    return reinterpret_cast<INT_PTR>(result) > 32;
}

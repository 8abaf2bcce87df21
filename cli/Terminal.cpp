#include "Terminal.h"

#include <QtGlobal>

#ifdef Q_OS_WIN
#include <io.h>
#include <windows.h>
#else
#include <sys/ioctl.h>
#include <unistd.h>
#endif

namespace {

constexpr int kDefaultColumns = 80;

} // namespace

bool Terminal::isTerminal(std::FILE* stream)
{
#ifdef Q_OS_WIN
    return _isatty(_fileno(stream)) != 0;
#else
    return isatty(fileno(stream)) != 0;
#endif
}

int Terminal::columns(std::FILE* stream)
{
#ifdef Q_OS_WIN
    Q_UNUSED(stream);
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info))
        return qMax(20, int(info.srWindow.Right - info.srWindow.Left + 1));
#else
    winsize size{};
    if (ioctl(fileno(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return qMax(20, int(size.ws_col));
#endif
    return kDefaultColumns;
}

#ifdef Q_OS_WIN
Terminal::Utf8Output::Utf8Output() : m_previous(GetConsoleOutputCP())
{
    if (m_previous != 0 && m_previous != CP_UTF8)
        SetConsoleOutputCP(CP_UTF8);
}

Terminal::Utf8Output::~Utf8Output()
{
    if (m_previous != 0 && m_previous != CP_UTF8)
        SetConsoleOutputCP(m_previous);
}
#else
Terminal::Utf8Output::Utf8Output() = default;
Terminal::Utf8Output::~Utf8Output() = default;
#endif

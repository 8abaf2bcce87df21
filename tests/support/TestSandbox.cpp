#include "TestSandbox.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

namespace {
QString& homePath()
{
    static QString path;
    return path;
}
} // namespace

TestSandbox::TestSandbox()
{
#ifdef Q_OS_WIN
    // Windows takes the desktop and the other user folders from the
    // registry's known folders, not from the environment: a test there runs
    // in a throwaway Wine profile made for it alone (scripts/windows/
    // wine-run.sh), and its home is that profile's.
    homePath() = QDir::homePath();
#else
    homePath() = m_home.path();
    const QByteArray home = QFile::encodeName(m_home.path());
    qputenv("HOME", home);
    qputenv("XDG_CONFIG_HOME", home + "/.config");
    qputenv("XDG_DATA_HOME", home + "/.local/share");
    qputenv("XDG_CACHE_HOME", home + "/.cache");
    qputenv("XDG_RUNTIME_DIR", home); // made 0700, as Qt wants it
    qunsetenv("XDG_DESKTOP_DIR");
#endif
    // Fonts measure the same on every machine.
    QCoreApplication::setAttribute(Qt::AA_Use96Dpi, true);
}

QString TestSandbox::home()
{
    return homePath();
}

bool TestSandbox::isSealed() const
{
#ifdef Q_OS_WIN
    if (qEnvironmentVariableIsEmpty("PICTOVA_TEST_PRIVATE_PREFIX"))
        return false; // a real profile: the test would write onto its desktop
#endif
    if (!m_home.isValid())
        return false;
    const QString desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
    return !desktop.isEmpty()
        && QDir(desktop).absolutePath().startsWith(QDir(home()).absolutePath() + '/')
        && QDir().mkpath(desktop);
}

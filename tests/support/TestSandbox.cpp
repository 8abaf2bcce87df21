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
    homePath() = m_home.path();
    const QByteArray home = QFile::encodeName(m_home.path());
    qputenv("HOME", home);
    qputenv("XDG_CONFIG_HOME", home + "/.config");
    qputenv("XDG_DATA_HOME", home + "/.local/share");
    qputenv("XDG_CACHE_HOME", home + "/.cache");
    qputenv("XDG_RUNTIME_DIR", home); // made 0700, as Qt wants it
    qunsetenv("XDG_DESKTOP_DIR");
    // Fonts measure the same on every machine.
    QCoreApplication::setAttribute(Qt::AA_Use96Dpi, true);
}

QString TestSandbox::home()
{
    return homePath();
}

bool TestSandbox::isSealed() const
{
    if (!m_home.isValid())
        return false;
    const QString desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
    return !desktop.isEmpty()
        && QDir(desktop).absolutePath().startsWith(QDir(m_home.path()).absolutePath() + '/')
        && QDir().mkpath(desktop);
}

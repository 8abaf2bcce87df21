#pragma once

// Helpers shared by the engine and command-line tests.

#include <QBuffer>
#include <QByteArray>
#include <QColor>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

namespace EngineTest {

// The stand-in decoding library (see fake/FakeDecodex.c).
inline QString fakeLibrary()
{
    return QStringLiteral(FAKE_DECODEX_DIR "/Decodex");
}

inline QString noExportLibrary()
{
    return QStringLiteral(FAKE_NOEXPORT_DIR "/Decodex");
}

// A small real JPEG, as the library would return it.
inline QByteArray jpeg(int width = 40, int height = 30, QColor colour = Qt::red)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPG", 90);
    return bytes;
}

// Input for the stand-in library: `tag` picks what it does.
inline QByteArray fakeHeic(const QByteArray& payload, const char* tag = "FAKEJPEG")
{
    return QByteArray(tag) + payload;
}

inline bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

inline QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Every entry of a folder, hidden ones included, so that a temporary file
// left behind by a failed save is seen.
inline QStringList entries(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System
                                  | QDir::NoDotAndDotDot, QDir::Name);
}

// The temporary home the test runs in; the desktop is its Desktop folder.
inline QString& home()
{
    static QString path;
    return path;
}

} // namespace EngineTest

// Runs the test class with HOME and the XDG folders inside a temporary
// folder, so that the desktop the code writes to is never the real one.
#define PICTOVA_TEST_MAIN_WITH_TEMP_HOME(TestClass)                                     \
    int main(int argc, char** argv)                                                     \
    {                                                                                   \
        QTemporaryDir home;                                                             \
        if (!home.isValid())                                                            \
            return 3;                                                                   \
        EngineTest::home() = home.path();                                               \
        qputenv("HOME", QFile::encodeName(home.path()));                                \
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.path() + "/.config"));        \
        qunsetenv("XDG_DESKTOP_DIR");                                                   \
        QCoreApplication app(argc, argv);                                               \
        const QString desktop =                                                         \
            QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);          \
        if (!desktop.startsWith(home.path())) {                                         \
            qCritical("desktop folder %s is outside the test's home", qPrintable(desktop)); \
            return 3;                                                                   \
        }                                                                               \
        TestClass test;                                                                 \
        return QTest::qExec(&test, argc, argv);                                         \
    }

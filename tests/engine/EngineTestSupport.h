#pragma once

// Helpers shared by the engine and command-line tests.

#include <QBuffer>
#include <QDir>
#include <QImage>
#include <QLibrary>
#include <QtTest>

namespace EngineTest {

// The stand-in decoding library (see fake/FakeDecodex.c) and one that lacks
// the entry point.
inline QString fakeLibrary() { return QStringLiteral(FAKE_DECODEX_DIR "/Decodex"); }
inline QString noExportLibrary() { return QStringLiteral(FAKE_NOEXPORT_DIR "/Decodex"); }

// How often the stand-in's heif2jpg was called, so a test can prove that a
// call never happened.
inline int fakeCalls()
{
    using CallsFn = int (*)();
    static const auto calls = reinterpret_cast<CallsFn>(QLibrary::resolve(fakeLibrary(), "fake_decodex_calls"));
    return calls ? calls() : -1;
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

// Hidden entries too, so that a temporary file left by a failed save is seen.
inline QStringList entries(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                  QDir::Name);
}

} // namespace EngineTest

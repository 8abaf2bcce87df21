#pragma once

// Helpers shared by the engine and command-line tests.

#include <QBuffer>
#include <QDir>
#include <QImage>
#include <QLibrary>
#include <QtTest>

#include "WorkQueue.h"

namespace EngineTest {

// The stand-in decoding library (see fake/FakeDecodex.cpp) and one that lacks
// the entry point.
inline QString fakeLibrary() { return QStringLiteral(FAKE_DECODEX_DIR "/Decodex"); }
inline QString noExportLibrary() { return QStringLiteral(FAKE_NOEXPORT_DIR "/Decodex"); }

// The stand-in's exports beyond the library's own (see fake/FakeDecodex.cpp).
template <typename Fn>
Fn fakeExport(const char* name)
{
    return reinterpret_cast<Fn>(QLibrary::resolve(fakeLibrary(), name));
}

// How often the stand-in's heif2jpg was called, so a test can prove that a
// call never happened.
inline int fakeCalls() { return fakeExport<int (*)()>("fake_decodex_calls")(); }
// Photos made by fakeNamed() that reached the library since fakeReset().
inline int fakeEntered() { return fakeExport<int (*)()>("fake_decodex_entered")(); }
inline void fakeReset() { fakeExport<void (*)()>("fake_decodex_reset")(); }
// While the gate is shut, named photos wait inside the library for a permit.
inline void fakeGate(bool shut) { fakeExport<void (*)(int)>("fake_decodex_gate")(shut); }
inline void fakeRelease(int permits) { fakeExport<void (*)(int)>("fake_decodex_release")(permits); }
inline bool fakeQualitySeen(int quality) { return fakeExport<int (*)(int)>("fake_decodex_quality_seen")(quality); }

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

// A photo that passes the gate; one named "broken..." fails to decode.
inline QByteArray fakeNamed(const QByteArray& name, const QByteArray& payload)
{
    return "FAKENAME" + name + '\0' + payload;
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

// Empties the workers' shared queue; returns what was left in it.
inline QStringList drainQueue()
{
    QStringList left;
    ConvertJob job;
    while (WorkQueue::global().take(&job))
        left << job.source;
    return left;
}

// A process number no system hands out (Linux stops at 2^22): the writer
// of a temporary file left by a run that was killed.
constexpr qint64 kEndedProcess = 99999999;

// Hidden entries too, so that a temporary file left by a failed save is seen.
inline QStringList entries(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                  QDir::Name);
}

} // namespace EngineTest

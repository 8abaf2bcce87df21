#pragma once

#include "ConversionOptions.h"
#include "Heif2JpgFn.h"

#include <QByteArray>
#include <QImage>
#include <QString>

#include <functional>
#include <limits>

// The read-and-decode steps that the preview thread and the batch workers
// share: load a HEIC file into memory, hand it to the decoding library, get
// the library's JPEG back. One object per thread; it is not shared.
//
// Every buffer is owned (QByteArray or a scoped allocation), so nothing
// outlives the call that needed it.
class HeicDecoder
{
public:
    // The decoding library takes a file's size as a 32-bit number, and the
    // QByteArray that holds the file keeps its small header within the same
    // bound. Larger files are refused before anything is read; smaller ones
    // as long as they fit the MemoryBudget's limit.
    static constexpr qint32 kMaxFileSize = std::numeric_limits<qint32>::max() - 4096;
    // The first output buffer is this many times the input.
    static constexpr qint32 kCapacityFactor = 10;

    // The library's JPEG, or why there is none.
    struct Result
    {
        QByteArray jpeg;
        QString failure;

        bool ok() const { return !jpeg.isEmpty(); }
    };

    explicit HeicDecoder(Heif2JpgFn convert = nullptr);

    void setDecoder(Heif2JpgFn convert) { m_convert = convert; }
    Heif2JpgFn decoder() const { return m_convert; }

    // Applied to every later decode; a library without the options export
    // then fails each photo with a reason rather than ignoring them.
    void setOptions(const ConversionOptions& options) { m_options = options; }
    ConversionOptions options() const { return m_options; }

    // Size of the last file measured by readHeicFile(); 0 before the first.
    qint32 fileSize() const { return m_fileSize; }

    // Reads the whole file. The measured size is stored in fileSize() before
    // the range check, so a refused file still tells its size; a file that
    // cannot be opened leaves fileSize() as it was. Returns a null array on
    // any failure (empty, beyond kMaxFileSize or the memory budget, memory
    // exhausted, unreadable) and, when `failure` is given, a reason fit for
    // a user.
    QByteArray readHeicFile(const QString& path, QString* failure = nullptr);

    // Converts HEIC bytes to JPEG bytes through the library, in one call: the
    // output buffer is ten times the input or, when the library tells a
    // larger bound (heif2jpg_capacity), that bound. The call starts only when
    // its working memory fits the process's MemoryBudget. An empty input or a
    // missing library never reaches the library.
    Result decodeToJpeg(const QByteArray& input, int quality, const char* scratchName) const;

    // readHeicFile() then decodeToJpeg(); logs one warning line when the file
    // could not be converted. `whenRead`, when given, gets the file's bytes
    // once they are read and before they are decoded.
    Result convertFile(const QString& path, int quality, const char* scratchName,
                       const std::function<void(const QByteArray&)>& whenRead = {});

    // The photo's embedded thumbnail, turned like the photo; null when the
    // file or the library (heif2jpg_thumbnail) has none. Costs a few
    // milliseconds: only the thumbnail is decoded.
    QImage thumbnail(const QByteArray& input) const;

    // The picture inside a JPEG produced by the library; null when the bytes
    // are not a readable JPEG.
    static QImage imageFromJpeg(const QByteArray& jpeg);
    // Reads the JPEG scaled down to fit `box` (never enlarged) and stores the
    // picture's full size in `fullSize` (0 x 0 when it cannot be read).
    // An invalid box reads it whole.
    static QImage imageFromJpeg(const QByteArray& jpeg, const QSize& box, QSize* fullSize);

    // The memory a decode is expected to take, from the input size and the
    // output capacity chosen for it (which follows the declared picture
    // size); what the MemoryBudget is asked for.
    static qint64 workingMemory(qint32 inputSize, qint32 capacity);

    // input size x 10, kept within what a 32-bit size can say.
    static qint32 outputCapacity(qint32 inputSize);

    // A short text for one of the library's negative results.
    static QString describeError(int32_t code);

    // Said once per process when decoding was asked of a missing library.
    static QString libraryMissingText();

private:
    Heif2JpgFn m_convert = nullptr;
    ConversionOptions m_options;
    qint32 m_fileSize = 0;
};

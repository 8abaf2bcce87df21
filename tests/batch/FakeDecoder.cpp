#include "FakeDecoder.h"

#include <decodex/heif2jpg.h>

#include <QBuffer>
#include <QImage>

#include <condition_variable>
#include <cstring>
#include <mutex>

namespace FakeDecoder {

const QByteArray kBrokenPrefix = "broken";

namespace {

const QByteArray kMagic = "PICTOVA-FAKE:";

std::mutex lock;
std::condition_variable changed;
bool gateShut = false;
int permits = 0;
int calls = 0;
QList<QByteArray> names;
QSet<int> qualities;
QByteArray jpeg;

QByteArray smallJpeg()
{
    QImage picture(16, 12, QImage::Format_RGB32);
    picture.fill(QColor(200, 40, 40));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    picture.save(&buffer, "JPG", 90);
    return bytes;
}

} // namespace

QByteArray makeInput(const QByteArray& name)
{
    QByteArray bytes = kMagic + name;
    bytes.append(QByteArray(4096 - bytes.size(), '\0'));
    return bytes;
}

void reset()
{
    // Made here, on the test's thread, before any worker starts.
    const QByteArray made = smallJpeg();
    std::lock_guard<std::mutex> guard(lock);
    jpeg = made;
    gateShut = false;
    permits = 0;
    calls = 0;
    names.clear();
    qualities.clear();
    changed.notify_all();
}

void shutGate()
{
    std::lock_guard<std::mutex> guard(lock);
    gateShut = true;
}

void openGate()
{
    std::lock_guard<std::mutex> guard(lock);
    gateShut = false;
    changed.notify_all();
}

void release(int count)
{
    std::lock_guard<std::mutex> guard(lock);
    permits += count;
    changed.notify_all();
}

int32_t convert(const uint8_t* input, int32_t inputSize, int32_t quality, uint8_t* output,
                int32_t outputCapacity, const char*)
{
    const QByteArray data(reinterpret_cast<const char*>(input), inputSize);
    QByteArray name;
    if (data.startsWith(kMagic))
        name = data.mid(kMagic.size()).split('\0').value(0);

    std::unique_lock<std::mutex> guard(lock);
    ++calls;
    names.append(name);
    qualities.insert(quality);
    changed.wait(guard, [] { return !gateShut || permits > 0; });
    if (gateShut)
        --permits;

    if (name.isEmpty() || name.startsWith(kBrokenPrefix))
        return DECODEX_ERR_DECODE_FAILED;
    if (jpeg.size() > outputCapacity)
        return DECODEX_ERR_OUTPUT_TOO_SMALL;
    std::memcpy(output, jpeg.constData(), size_t(jpeg.size()));
    return int32_t(jpeg.size());
}

int entered()
{
    std::lock_guard<std::mutex> guard(lock);
    return calls;
}

QList<QByteArray> seenNames()
{
    std::lock_guard<std::mutex> guard(lock);
    return names;
}

QSet<int> seenQualities()
{
    std::lock_guard<std::mutex> guard(lock);
    return qualities;
}

} // namespace FakeDecoder

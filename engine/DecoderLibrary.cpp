#include "DecoderLibrary.h"

#include "EngineLog.h"
#include "Platform.h"

#include <QCoreApplication>
#include <QDir>

#include <atomic>
#include <mutex>
#include <utility>
#include <vector>

namespace {

// Few entries ever: one per library loaded (plus test stand-ins).
std::mutex g_pairsLock;
std::vector<std::pair<Heif2JpgFn, Heif2JpgCapacityFn>> g_pairs;

template <typename Fn>
Fn resolve(const QString& library, const char* symbol, QString* error = nullptr)
{
    return reinterpret_cast<Fn>(Platform::resolveFunction(library, symbol, error));
}

} // namespace

DecoderLibrary::Functions DecoderLibrary::bindFrom(const QString& libraryPath)
{
    Functions functions;
    functions.convert = resolve<Heif2JpgFn>(libraryPath, "heif2jpg", &functions.error);
    if (!functions.convert)
        return functions;
    functions.capacity = resolve<Heif2JpgCapacityFn>(libraryPath, "heif2jpg_capacity");
    functions.errorText = resolve<Heif2JpgErrorTextFn>(libraryPath, "heif2jpg_error_text");
    functions.convertWithoutGainMap = resolve<Heif2JpgFn>(libraryPath, "heif2jpg_no_gain_map");
    if (functions.capacity)
        registerCapacity(functions.convert, functions.capacity);
    if (functions.capacity && functions.convertWithoutGainMap)
        registerCapacity(functions.convertWithoutGainMap, functions.capacity);
    return functions;
}

DecoderLibrary::Functions DecoderLibrary::bind()
{
    const QString baseName = QString::fromLatin1(kBaseName);
    QStringList candidates;
    if (QCoreApplication::instance())
        candidates << QCoreApplication::applicationDirPath() + QLatin1Char('/')
                          + Platform::libraryFileName(baseName);
    candidates << baseName;

    Functions functions;
    QStringList errors;
    for (const QString& candidate : qAsConst(candidates)) {
        functions = bindFrom(candidate);
        if (functions.isBound())
            return functions;
        errors << functions.error;
    }
    functions.error = errors.join(QStringLiteral("; "));

    // A program that binds again (a second window, a test) says it only once.
    static std::atomic_bool warned{false};
    if (!warned.exchange(true))
        qCWarning(lcEngine).noquote() << "decoding library not found, nothing can be converted:"
                                      << functions.error;
    return functions;
}

Heif2JpgCapacityFn DecoderLibrary::capacityFor(Heif2JpgFn convert)
{
    if (!convert)
        return nullptr;
    const std::lock_guard<std::mutex> lock(g_pairsLock);
    for (const auto& pair : g_pairs)
        if (pair.first == convert)
            return pair.second;
    return nullptr;
}

void DecoderLibrary::registerCapacity(Heif2JpgFn convert, Heif2JpgCapacityFn capacity)
{
    if (!convert)
        return;
    const std::lock_guard<std::mutex> lock(g_pairsLock);
    for (auto& pair : g_pairs) {
        if (pair.first == convert) {
            pair.second = capacity;
            return;
        }
    }
    g_pairs.emplace_back(convert, capacity);
}

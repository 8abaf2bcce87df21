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
struct Partners
{
    Heif2JpgFn convert;
    Heif2JpgCapacityFn capacity;
    Heif2JpgThumbnailFn thumbnail;
    Heif2JpgWithOptionsFn withOptions;
};
std::vector<Partners> g_pairs;

// One function of the library `convert` came from; null when unknown.
template <typename Fn>
Fn partnerOf(Heif2JpgFn convert, Fn Partners::*function)
{
    if (!convert)
        return nullptr;
    const std::lock_guard<std::mutex> lock(g_pairsLock);
    for (const Partners& partners : g_pairs)
        if (partners.convert == convert)
            return partners.*function;
    return nullptr;
}

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
    functions.thumbnail = resolve<Heif2JpgThumbnailFn>(libraryPath, "heif2jpg_thumbnail");
    functions.withOptions = resolve<Heif2JpgWithOptionsFn>(libraryPath, "heif2jpg_with_options");
    registerCapacity(functions.convert, functions.capacity);
    const std::lock_guard<std::mutex> lock(g_pairsLock);
    for (Partners& partners : g_pairs) {
        if (partners.convert == functions.convert) {
            partners.thumbnail = functions.thumbnail;
            partners.withOptions = functions.withOptions;
        }
    }
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
    return partnerOf(convert, &Partners::capacity);
}

Heif2JpgThumbnailFn DecoderLibrary::thumbnailFor(Heif2JpgFn convert)
{
    return partnerOf(convert, &Partners::thumbnail);
}

Heif2JpgWithOptionsFn DecoderLibrary::withOptionsFor(Heif2JpgFn convert)
{
    return partnerOf(convert, &Partners::withOptions);
}

void DecoderLibrary::registerCapacity(Heif2JpgFn convert, Heif2JpgCapacityFn capacity)
{
    if (!convert)
        return;
    const std::lock_guard<std::mutex> lock(g_pairsLock);
    for (Partners& partners : g_pairs) {
        if (partners.convert == convert) {
            partners.capacity = capacity;
            return;
        }
    }
    g_pairs.push_back({convert, capacity, nullptr, nullptr});
}

#include "PictovaResources.h"

#include <QtGlobal>

#include <mutex>

// Q_INIT_RESOURCE must name the resource outside any namespace.
static void registerPictovaResources()
{
    Q_INIT_RESOURCE(pictova);
}

void pictovaInitResources()
{
    static std::once_flag once;
    std::call_once(once, registerPictovaResources);
}

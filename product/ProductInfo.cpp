#include "ProductInfo.h"

#ifndef PICTOVA_VERSION
#error "PICTOVA_VERSION must come from the build (the project's version)"
#endif

QString ProductInfo::productName()
{
    return QStringLiteral("Vantora Pictova");
}

QString ProductInfo::companyName()
{
    return QStringLiteral("Pictova contributors");
}

QString ProductInfo::buildVersion()
{
    return QStringLiteral(PICTOVA_VERSION);
}

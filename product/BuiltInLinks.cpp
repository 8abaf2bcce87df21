#include "BuiltInLinks.h"

QString BuiltInLinks::url(int menuNumber)
{
    switch (menuNumber) {
    case 3: return QStringLiteral("https://www.vantora.com/pictova/user-guide/");
    case 4: return QStringLiteral("https://www.vantora.com/support/faq/");
    case 5: return QStringLiteral("https://www.vantora.com/pictova/review/");
    case 6: return QStringLiteral("https://www.vantora.com/contact/");
    case 7: return QStringLiteral("https://www.facebook.com/VantoraSoftware");
    case 8: return QStringLiteral("https://twitter.com/VantoraSoftware");
    default: return QString();
    }
}

#include "MenuLinks.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

QUrl MenuLinks::helpPage(int menuNumber)
{
    return helpPage(menuNumber, QCoreApplication::applicationDirPath());
}

QUrl MenuLinks::helpPage(int menuNumber, const QString& programDir)
{
    QString page;
    switch (menuNumber) {
    case 3: page = QStringLiteral("tutorial.html"); break;
    case 4: page = QStringLiteral("faq.html"); break;
    default: return QUrl();
    }
    return QUrl::fromLocalFile(QDir(programDir).absoluteFilePath(QStringLiteral("help/") + page));
}

bool MenuLinks::isWebAddress(const QUrl& url)
{
    const QString scheme = url.scheme().toLower();
    return url.isValid() && (scheme == QLatin1String("http") || scheme == QLatin1String("https"))
        && !url.host().isEmpty();
}

QUrl MenuLinks::target(int menuNumber, const QString& configured, bool reportRefusal)
{
    const QString text = configured.trimmed();
    if (!text.isEmpty()) {
        // Taken as written text, so an address with non-ASCII characters
        // still reaches the browser intact.
        const QUrl url(text, QUrl::TolerantMode);
        if (isWebAddress(url))
            return url;
        if (reportRefusal)
            qWarning("Pictova: Version.ini entry %d is not a web address, not opened: %s", menuNumber,
                     qUtf8Printable(text));
    }
    return helpPage(menuNumber);
}

#include "ProductPlatform.h"
#include "ProductInfo.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

QString ProductPlatform::fileVersion(const QString& path)
{
    const QString file = QFileInfo(path).canonicalFilePath();
    if (file.isEmpty())
        return QString();
    const QString self = QFileInfo(QCoreApplication::applicationFilePath()).canonicalFilePath();
    return file == self ? ProductInfo::buildVersion() : QString();
}

QString ProductPlatform::startMenuProgramsDir()
{
    return QStandardPaths::writableLocation(QStandardPaths::ApplicationsLocation);
}

QString ProductPlatform::shortcutTarget(const QString& linkPath)
{
    const QFileInfo link(linkPath);
    if (!link.isSymLink())
        return QString();
    return link.symLinkTarget();
}

QByteArray ProductPlatform::toAnsiCodePage(const QString& text)
{
    return text.toLocal8Bit();
}

bool ProductPlatform::startSigningScript(const QString& file)
{
    return QProcess::startDetached(QStringLiteral("sh"),
                                   {QStringLiteral("signtool.sh"), file});
}

#include "FolderView.h"

#include <QCoreApplication>
#include <QDir>

QString FolderView::notShownText(const QString& folder)
{
    QString text = QCoreApplication::translate("FolderView", "No file manager could be started to show the folder.");
#if !defined(Q_OS_WIN) && !defined(Q_OS_MACOS)
    text += QLatin1Char(' ')
            + QCoreApplication::translate("FolderView", "Installing xdg-utils (xdg-open) lets Pictova open it.");
#endif
    return text + QLatin1Char('\n') + QCoreApplication::translate("FolderView", "The JPEG files are in:")
           + QLatin1Char('\n') + QDir::toNativeSeparators(folder);
}

#include "SavedChoices.h"

#include <QFileInfo>
#include <QSettings>

namespace {

// One place for the file's name: ~/.config/Pictova/Pictova.conf, or the
// registry key HKEY_CURRENT_USER\Software\Pictova\Pictova on Windows.
QSettings store()
{
    return QSettings(QSettings::UserScope, QStringLiteral("Pictova"), QStringLiteral("Pictova"));
}

QString existingFolder(const QString& folder)
{
    return !folder.isEmpty() && QFileInfo(folder).isDir() ? folder : QString();
}

} // namespace

SavedChoices::Output SavedChoices::output()
{
    const QSettings settings = store();
    Output output;
    output.saveFolder = existingFolder(settings.value(QStringLiteral("Output/Folder")).toString());
    output.besidePhotos = settings.value(QStringLiteral("Output/BesidePhotos"), false).toBool();
    bool ok = false;
    const int quality = settings.value(QStringLiteral("Output/Quality"), 100).toInt(&ok);
    output.quality = ok && quality >= 0 && quality <= 100 ? quality : 100;
    const int side = settings.value(QStringLiteral("Output/MaxLongSide"), 0).toInt(&ok);
    output.options.maxLongSide = ok && side > 0 && side <= 65535 ? side : 0;
    output.options.keepLocation = settings.value(QStringLiteral("Output/KeepLocation"), true).toBool();
    return output;
}

void SavedChoices::setOutput(const Output& output)
{
    QSettings settings = store();
    settings.setValue(QStringLiteral("Output/Folder"), output.saveFolder);
    settings.setValue(QStringLiteral("Output/BesidePhotos"), output.besidePhotos);
    settings.setValue(QStringLiteral("Output/Quality"), output.quality);
    settings.setValue(QStringLiteral("Output/MaxLongSide"), output.options.maxLongSide);
    settings.setValue(QStringLiteral("Output/KeepLocation"), output.options.keepLocation);
}

QString SavedChoices::lastFolder()
{
    return existingFolder(store().value(QStringLiteral("Files/LastFolder")).toString());
}

void SavedChoices::setLastFolder(const QString& folder)
{
    store().setValue(QStringLiteral("Files/LastFolder"), folder);
}

void SavedChoices::forget()
{
    store().clear();
}

#include "BatchRules.h"

#include <QDir>

namespace BatchRules {

QString megabytesText(double bytes)
{
    return QString::number(bytes / 1024.0 / 1024.0, 'f', 1) + QStringLiteral("MB");
}

QString fileCountText(int count)
{
    return QString::number(count) + QStringLiteral(" File(s), ");
}

QString clearedCountText()
{
    return QStringLiteral("0 File(s), ");
}

QString clearedSizeText()
{
    return QStringLiteral("0 MB");
}

QString progressText(int done, int total)
{
    return QString::number(done) + QLatin1Char('/') + QString::number(total);
}

int progressPercent(int done, int total)
{
    if (total <= 0)
        return 0;
    const double ratio = double(done) / double(total);
    return int(ratio * 100.0);
}

QString finishedText(int count)
{
    if (count >= 2)
        return QString::number(count) + QStringLiteral(" files have been successfully converted!");
    if (count == 1)
        return QString::number(count) + QStringLiteral(" file have been successfully converted!");
    return QString();
}

QString failedText(int failed)
{
    if (failed <= 0)
        return QString();
    return failed == 1 ? QStringLiteral("1 file could not be converted:")
                       : QString::number(failed) + QStringLiteral(" files could not be converted:");
}

QString folderText(const QString& folder)
{
    return QStringLiteral("Saved in ") + QDir::toNativeSeparators(folder);
}

QString cancelDetailText(int failed, const QString& folder)
{
    QString text = folderText(folder);
    if (failed > 0)
        text += QStringLiteral("; ") + QString::number(failed)
            + (failed == 1 ? QStringLiteral(" file failed") : QStringLiteral(" files failed"));
    return text;
}

void removeTickedRow(QList<int>& tickedRows, int row)
{
    for (int i = 0; i < tickedRows.size(); ++i) {
        if (tickedRows.at(i) == row)
            tickedRows.removeAt(i);
    }
}

} // namespace BatchRules

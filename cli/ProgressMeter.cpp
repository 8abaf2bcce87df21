#include "ProgressMeter.h"

#include <cmath>

double ProgressMeter::rate(int done, double elapsedSeconds)
{
    if (done <= 0 || elapsedSeconds <= 0.0)
        return 0.0;
    return done / elapsedSeconds;
}

double ProgressMeter::secondsLeft(int done, int total, double elapsedSeconds)
{
    const double perSecond = rate(done, elapsedSeconds);
    if (perSecond <= 0.0)
        return -1.0;
    return qMax(0, total - done) / perSecond;
}

QString ProgressMeter::duration(double seconds)
{
    if (seconds < 0.0 || !std::isfinite(seconds))
        return QStringLiteral("--:--");
    const qint64 whole = qint64(std::ceil(seconds));
    const qint64 hours = whole / 3600;
    const qint64 minutes = whole / 60 % 60;
    const qint64 secs = whole % 60;
    const QString tail =
        QStringLiteral("%1:%2").arg(minutes, hours > 0 ? 2 : 1, 10, QLatin1Char('0')).arg(secs, 2, 10, QLatin1Char('0'));
    return hours > 0 ? QString::number(hours) + QLatin1Char(':') + tail : tail;
}

QString ProgressMeter::line(int done, int total, double elapsedSeconds, int width)
{
    const int digits = QString::number(qMax(total, 1)).size();
    const QString counts = QStringLiteral("%1/%2").arg(done, digits).arg(total);
    const QString speed = QStringLiteral("%1 files/s").arg(rate(done, elapsedSeconds), 5, 'f', 1);
    const QString left = done >= total
        ? QStringLiteral("%1 in all").arg(duration(elapsedSeconds))
        : QStringLiteral("%1 left").arg(duration(secondsLeft(done, total, elapsedSeconds)));
    const QString figures = counts + QStringLiteral("  ") + speed + QStringLiteral("  ") + left;

    // Room for "[" + bar + "] " in front of the figures; a bar narrower than
    // ten cells says too little to be worth the space.
    const int barCells = qMin(40, width - figures.size() - 3);
    if (barCells < 10)
        return figures.left(qMax(0, width));
    const int filled = total > 0 ? int(qint64(barCells) * qBound(0, done, total) / total) : 0;
    return QLatin1Char('[') + QString(filled, QLatin1Char('#'))
        + QString(barCells - filled, QLatin1Char('-')) + QStringLiteral("] ") + figures;
}

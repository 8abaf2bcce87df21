#include "ConsoleReporter.h"

#include "ProgressMeter.h"

#include <QDir>

namespace {

// Redrawing more often than this costs time and shows nothing more.
constexpr qint64 kRedrawMs = 100;

QString shown(const QString& path)
{
    return QDir::toNativeSeparators(QDir::cleanPath(path));
}

} // namespace

ConsoleReporter::ConsoleReporter(QTextStream& out, QTextStream& err, Style style, QObject* parent)
    : QObject(parent), m_out(out), m_err(err), m_style(style)
{
}

void ConsoleReporter::start(int total)
{
    m_total = total;
    m_done = 0;
    m_clock.start();
    redraw(true);
}

void ConsoleReporter::note(const QString& text)
{
    clearBar();
    m_err << text << Qt::endl;
    redraw(true);
}

void ConsoleReporter::fileConverted(const QString& /*source*/, const QString& target)
{
    ++m_done;
    if (m_style.convertedLines) {
        clearBar();
        m_out << shown(target) << Qt::endl;
    }
    redraw(m_done == m_total);
}

void ConsoleReporter::fileFailed(const QString& source, const QString& reason)
{
    ++m_done;
    note(shown(source) + QStringLiteral(": ") + reason);
}

void ConsoleReporter::stopping()
{
    note(QStringLiteral("pictova-convert: stopping after the photos being converted "
                        "(Ctrl-C again to quit at once)"));
}

void ConsoleReporter::redraw(bool force)
{
    if (!m_style.progressBar || !m_clock.isValid())
        return;
    const qint64 now = m_clock.elapsed();
    if (!force && m_lastDraw >= 0 && now - m_lastDraw < kRedrawMs)
        return;
    m_lastDraw = now;
    // One column short of the width, so the cursor never wraps to a new line.
    const QString text = ProgressMeter::line(m_done, m_total, now / 1000.0, m_style.width - 1);
    // Spaces rather than an escape sequence wipe a longer old line, so this
    // works in every console.
    const int pad = qMax(0, m_drawnWidth - text.size());
    m_err << '\r' << text << QString(pad, QLatin1Char(' '));
    if (pad > 0)
        m_err << '\r' << text;
    m_err.flush();
    m_drawnWidth = text.size();
}

void ConsoleReporter::clearBar()
{
    if (!m_style.progressBar || m_drawnWidth == 0)
        return;
    m_err << '\r' << QString(m_drawnWidth, QLatin1Char(' ')) << '\r';
    m_drawnWidth = 0;
}

QStringList ConsoleReporter::summaryLines(const BatchConverter::Result& result,
                                          const QVector<InputScanner::Problem>& failedBefore,
                                          const QVector<InputScanner::Problem>& skipped)
{
    const int failed = failedBefore.size() + result.failed.size();
    const int notConverted = skipped.size() + result.notStarted.size();
    QStringList lines;
    if (result.stopped)
        lines << QStringLiteral("pictova-convert: interrupted; the photos being converted were "
                                "finished, %1 not started")
                     .arg(result.notStarted.size());
    lines << QStringLiteral("pictova-convert: %1 converted, %2 failed, %3 skipped")
                 .arg(result.converted.size())
                 .arg(failed)
                 .arg(notConverted);
    if (failed > 0) {
        lines << QStringLiteral("failed:");
        for (const InputScanner::Problem& problem : failedBefore)
            lines << QStringLiteral("  %1: %2").arg(shown(problem.path), problem.reason);
        for (const BatchConverter::Failure& failure : result.failed)
            lines << QStringLiteral("  %1: %2").arg(shown(failure.source), failure.reason);
    }
    if (notConverted > 0) {
        lines << QStringLiteral("skipped:");
        for (const InputScanner::Problem& problem : skipped)
            lines << QStringLiteral("  %1: %2").arg(shown(problem.path), problem.reason);
        for (const QString& source : result.notStarted)
            lines << QStringLiteral("  %1: not started, the run was interrupted").arg(shown(source));
    }
    return lines;
}

void ConsoleReporter::summary(const BatchConverter::Result& result,
                              const QVector<InputScanner::Problem>& failedBefore,
                              const QVector<InputScanner::Problem>& skipped)
{
    redraw(true);
    if (m_style.progressBar && m_drawnWidth > 0) {
        m_err << '\n';
        m_drawnWidth = 0;
    }
    m_out.flush();
    for (const QString& line : summaryLines(result, failedBefore, skipped))
        m_err << line << '\n';
    m_err.flush();
}

#include "ConsoleReporter.h"

#include "ProgressMeter.h"

#include <QDir>

namespace {

// Redrawing more often than this costs time and shows nothing more.
constexpr qint64 kRedrawMs = 100;

// Control characters as escapes, so that one file is always one line.
QString escaped(const QString& raw, bool backslashes)
{
    QString text;
    text.reserve(raw.size());
    for (const QChar c : raw) {
        const ushort u = c.unicode();
        if (u == '\n')
            text += QLatin1String("\\n");
        else if (u == '\t')
            text += QLatin1String("\\t");
        else if (u == '\r')
            text += QLatin1String("\\r");
        else if (u < 0x20 || u == 0x7F || (u >= 0x80 && u < 0xA0))
            text += QStringLiteral("\\x%1").arg(u, 2, 16, QLatin1Char('0'));
        else if (u == '\\' && backslashes)
            text += QLatin1String("\\\\");
        else
            text += c;
    }
    return text;
}

// A reason may name a file too.
QString line(const QString& path, const QString& reason)
{
    return ConsoleReporter::shown(path) + QStringLiteral(": ") + escaped(reason, false);
}

} // namespace

QString ConsoleReporter::shown(const QString& path)
{
#ifdef Q_OS_WIN
    const bool backslashes = false; // they separate the folders
#else
    const bool backslashes = true;
#endif
    return escaped(QDir::toNativeSeparators(QDir::cleanPath(path)), backslashes);
}

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
    if (m_style.convertedLines && !m_outFailed) {
        clearBar();
        m_out << shown(target) << Qt::endl;
        // A full disk or a closed pipe behind stdout: the list is not what
        // the caller asked for, which the summary and the exit status say.
        if (m_out.status() != QTextStream::Ok)
            m_outFailed = true;
    }
    redraw(m_done == m_total);
}

void ConsoleReporter::fileFailed(const QString& source, const QString& reason)
{
    ++m_done;
    note(line(source, reason));
}

void ConsoleReporter::problem(const QString& path, const QString& reason)
{
    note(line(path, reason));
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
    else if (result.diskFull)
        lines << QStringLiteral("pictova-convert: stopped on a full disk; the photos being "
                                "converted were finished, %1 not started")
                     .arg(result.notStarted.size());
    const QString notStartedReason = result.stopped
        ? QStringLiteral("not started, the run was interrupted")
        : result.diskFull ? QStringLiteral("not started, the disk is full")
                          : QStringLiteral("not started");
    lines << QStringLiteral("pictova-convert: %1 converted, %2 failed, %3 skipped")
                 .arg(result.converted.size())
                 .arg(failed)
                 .arg(notConverted);
    if (failed > 0) {
        lines << QStringLiteral("failed:");
        for (const InputScanner::Problem& problem : failedBefore)
            lines << QStringLiteral("  ") + line(problem.path, problem.reason);
        for (const BatchConverter::Failure& failure : result.failed)
            lines << QStringLiteral("  ") + line(failure.source, failure.reason);
    }
    if (notConverted > 0) {
        lines << QStringLiteral("skipped:");
        for (const InputScanner::Problem& problem : skipped)
            lines << QStringLiteral("  ") + line(problem.path, problem.reason);
        for (const QString& source : result.notStarted)
            lines << QStringLiteral("  ") + line(source, notStartedReason);
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
    if (m_out.status() != QTextStream::Ok)
        m_outFailed = true;
    for (const QString& line : summaryLines(result, failedBefore, skipped))
        m_err << line << '\n';
    if (m_outFailed) {
        const QString why = m_out.device() ? m_out.device()->errorString() : QString();
        m_err << "pictova-convert: the list of converted files could not be written to stdout"
              << (why.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(why)) << '\n';
    }
    m_err.flush();
}

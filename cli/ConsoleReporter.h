#pragma once

#include "BatchConverter.h"
#include "InputScanner.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTextStream>

// Everything the converter tells its user while and after it runs.
//
// With a progress bar (stderr is a terminal) the bar is redrawn in place on
// stderr and failures are printed above it as they happen. Without one, every
// failure is a line "SOURCE: reason" on stderr. Converted files are a line
// each on stdout (the path written) unless both streams are the terminal,
// where the bar says enough. The summary at the end goes to stderr.
class ConsoleReporter : public QObject
{
    Q_OBJECT

public:
    struct Style
    {
        bool progressBar = false;
        bool convertedLines = true;
        int width = 80;
    };

    ConsoleReporter(QTextStream& out, QTextStream& err, Style style, QObject* parent = nullptr);

    // Called once, when the photos are about to go to the workers.
    void start(int total);

    // A line on stderr that does not break the bar.
    void note(const QString& text);

    // "PATH: reason" on stderr, settled before the run (not counted).
    void problem(const QString& path, const QString& reason);

    void fileConverted(const QString& source, const QString& target);
    void fileFailed(const QString& source, const QString& reason);
    void stopping();

    // Ends the bar and prints the counts, then every failure and every
    // skipped photo with its reason. `failedBefore` and `skipped` are those
    // settled before the run (missing files, photos named twice).
    void summary(const BatchConverter::Result& result,
                 const QVector<InputScanner::Problem>& failedBefore,
                 const QVector<InputScanner::Problem>& skipped);

    // True once a line could not be written to stdout (a full disk, a closed
    // pipe); summary() says so on stderr.
    bool outputFailed() const { return m_outFailed; }

    // A path as the listing shows it: native separators, and control
    // characters (and, where "/" separates, backslashes) escaped, so one
    // file is always one line.
    static QString shown(const QString& path);

    // The same text that summary() prints, without the streams.
    static QStringList summaryLines(const BatchConverter::Result& result,
                                    const QVector<InputScanner::Problem>& failedBefore,
                                    const QVector<InputScanner::Problem>& skipped);

private:
    void redraw(bool force);
    void clearBar();

    QTextStream& m_out;
    QTextStream& m_err;
    Style m_style;
    QElapsedTimer m_clock;
    qint64 m_lastDraw = -1;
    int m_total = 0;
    int m_done = 0;
    int m_drawnWidth = 0;
    bool m_outFailed = false;
};

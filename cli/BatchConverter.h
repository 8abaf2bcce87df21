#pragma once

#include "Heif2JpgFn.h"

#include <QObject>
#include <QStringList>
#include <QTextStream>

#include <array>
#include <memory>

class ConvertThread;

// Converts a list of files with the engine's four workers and the shared
// work queue, reporting one line per file as it finishes: the written path
// on `out`, or the source and the reason on `err`.
class BatchConverter : public QObject
{
    Q_OBJECT

public:
    static constexpr int kWorkerCount = 4;

    struct Options
    {
        int quality = 100;
        QString outputFolder; // empty: the desktop, as in the program
        QStringList files;
    };

    BatchConverter(Heif2JpgFn decoder, QTextStream& out, QTextStream& err,
                   QObject* parent = nullptr);
    ~BatchConverter() override;

    // Runs the batch to its end (a local event loop receives the workers'
    // reports). Returns the number of files that failed.
    int convert(const Options& options);

private slots:
    void fileConverted(const QString& source, const QString& target);
    void fileFailed(const QString& source, const QString& reason);

private:
    Heif2JpgFn m_decoder;
    QTextStream& m_out;
    QTextStream& m_err;
    std::array<std::unique_ptr<ConvertThread>, kWorkerCount> m_workers;
    int m_failures = 0;
};

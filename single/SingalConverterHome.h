#pragma once

#include <QString>
#include <QStringList>
#include <QVector>
#include <QWidget>

#include "SkinStyle.h"

namespace Ui {
class SingalConverterHome;
}

class QMimeData;

// The drop zone through which photos enter the program. One instance feeds the
// preview page (single mode), another the batch table (batch mode); the page
// only collects paths and never opens a file.
class SingalConverterHome : public QWidget
{
    Q_OBJECT

public:
    explicit SingalConverterHome(QWidget* parent = nullptr);
    ~SingalConverterHome() override;

    void setBatchMode(bool batchMode);
    bool isBatchMode() const { return m_batchMode; }

    void setSelectTipText(const QString& text);
    void setDropTipText(const QString& text);

    // The last path accepted by a drop or the chooser.
    QString currentFile() const { return m_currentFile; }

signals:
    void signal_ToPreviewView(QString strFilePath);
    void signal_addHeicFile(QVector<QString> strPath);
    // A drop held this many files that were left out: files that are not
    // HEIF photos and, in single mode, photos after the first.
    void signal_FilesLeftOut(int count);

public slots:
    void slot_SelectHEIC();

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

    // The file dialogs, virtual so tests can answer them without a real dialog.
    virtual QStringList chooseHeicFiles();
    virtual QString chooseHeicFile();

private:
    void acceptDroppedUrls(const QMimeData* mimeData);
    void tellLeftOut(const QString& note, int leftOut);

    Ui::SingalConverterHome* ui;
    SkinStyle m_skin;
    QString m_currentFile;
    bool m_batchMode = false;
};

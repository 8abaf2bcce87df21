#pragma once

#include "Heif2JpgFn.h"
#include "SkinStyle.h"

#include <QFileInfo>
#include <QList>
#include <QMutex>
#include <QPair>
#include <QPointer>
#include <QStringList>
#include <QVector>
#include <QWidget>

#include <array>

class BatchConvertProgress;
class ConvertThread;
class ConvertsionSet;
class QDialog;
class QTableWidgetItem;
class TipDialog;
class VNStyleCheckBox;

namespace Ui {
class HeicFileTable;
}

// The batch page: a table of HEIC files with tick boxes, the count and size
// of what it holds, and the run that converts the ticked rows with four
// workers while a progress dialog counts the files written.
//
// Everything here runs on the GUI thread; the workers only ever talk back
// through queued signals.
class HeicFileTable : public QWidget
{
    Q_OBJECT

public:
    explicit HeicFileTable(QWidget* parent = nullptr);
    ~HeicFileTable() override;

    // Adds the paths that exist and are not in the table yet, ticked, and
    // returns how many were added.
    int addFiles(const QVector<QString>& paths);
    // Ignored when null, so a missing library never replaces a bound one.
    void setDecoder(Heif2JpgFn decoder);

    // What the page holds, for the main window and for tests.
    const QList<QFileInfo>& files() const { return m_files; }
    const QList<int>& tickedRows() const { return m_tickedRows; }
    const QStringList& queuedPaths() const { return m_queuedPaths; }
    QString savePath() const { return m_savePath; }
    int quality() const { return m_quality; }
    int successCount() const { return m_successCount; }
    // The run in progress (or the last one): photos it holds, its failures
    // (source, reason) and the folder its JPEGs go to.
    bool isRunning() const { return m_running; }
    int runTotal() const { return m_runTotal; }
    const QVector<QPair<QString, QString>>& runFailures() const { return m_runFailures; }
    QString runFolder() const { return m_runFolder; }
    // Rows whose file is no longer on disk, as last checked.
    bool isMissing(int row) const;
    BatchConvertProgress* progressDialog() const { return m_progress; }
    ConvertsionSet* settingsDialog() const { return m_settings; }
    ConvertThread* worker(int i) const { return m_workers.at(size_t(i)); }
    static constexpr int kWorkerCount = 4;

signals:
    void signal_ConvertSuccessCount(int nCount);
    void signal_ConvertSuccessAll();

public slots:
    void slot_ChooseItem(int nRow, int nCol);
    void slot_ClearTableView();
    void slot_ClearTable();
    void slot_DeleteTableItem();
    void slot_AddItem();
    void slot_setAllCheckBoxState(int State, int nIndex);
    void slot_setSelectAllCheckBoxState();
    void slot_BatchConvert();
    void slot_SavePath(QString strPath);
    void slot_ConvertQuality(int nValue);
    void slot_StartConvert();
    void slot_ConvertProgress();
    void slot_SetConvertProgress(int nCurProgress);
    void slot_StopConvert();
    void slot_ConvertSuccess();
    void slot_OpenFolder();
    void slot_ConvertFailed(const QString& source, const QString& reason);
    void slot_WorkerFinished();

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    bool event(QEvent* event) override;

    // The places where the page waits for the user or hands off to the
    // system. Tests replace them so they need no real dialog or file manager.
    virtual QStringList chooseFiles(const QString& startLocation);
    virtual int runModal(QDialog* dialog);
    virtual void showFolder(const QString& folder);

private:
    void setUpTable();
    void fillRow(int row, const QFileInfo& info);
    void rebuildTable();
    void showTotals();
    void updateButtons();
    void refreshMissing();
    // The size cell of a row whose file has gone.
    QTableWidgetItem* missingItem() const;
    void countDone();
    void finishCancel();
    void tellLeftOut(int leftOut);
    QList<VNStyleCheckBox*> liveRowBoxes() const;
    void stopWorkersAndWait();

    Ui::HeicFileTable* ui;
    SkinStyle m_skin;
    QString m_spare; // carried by the page since its first version; unused
    QList<QFileInfo> m_files;
    TipDialog* m_clearTip = nullptr;
    QList<int> m_tickedRows;
    // A rebuild replaces the cell widgets and Qt deletes the old ones later,
    // so the list must not keep raw pointers that could dangle.
    QList<QPointer<VNStyleCheckBox>> m_rowBoxes;
    VNStyleCheckBox* m_selectAll = nullptr;

    Heif2JpgFn m_decoder = nullptr;
    QString m_savePath;
    int m_quality = 100;
    std::array<ConvertThread*, kWorkerCount> m_workers{};
    QStringList m_queuedPaths;
    ConvertsionSet* m_settings = nullptr;
    int m_successCount = 0;
    BatchConvertProgress* m_progress = nullptr;
    QMutex m_countLock;
    TipDialog* m_stopTip = nullptr;

    bool m_running = false;
    bool m_cancelling = false;
    bool m_finishingCancel = false;
    int m_runTotal = 0;
    QVector<QPair<QString, QString>> m_runFailures;
    QString m_runFolder;

    QString m_lastAddedPath;
};

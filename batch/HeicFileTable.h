#pragma once

#include "Heif2JpgFn.h"
#include "PhotoFiles.h"
#include "SavedChoices.h"
#include "SkinStyle.h"

#include "BatchRunController.h"

#include <QFileInfo>
#include <QHash>
#include <QList>
#include <QPair>
#include <QPointer>
#include <QStringList>
#include <QVector>
#include <QWidget>

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
// of what it holds, and the settings of a run. The run itself (queue,
// workers, counts, result) is its BatchRunController's; the page's run slots
// hand over to it.
//
// Everything here runs on the GUI thread.
class HeicFileTable : public QWidget
{
    Q_OBJECT

public:
    explicit HeicFileTable(QWidget* parent = nullptr);
    ~HeicFileTable() override;

    // Adds the paths that exist and are not in the table yet, ticked, and
    // returns how many were added.
    int addFiles(const QVector<QString>& paths);
    // The same for photos found in folders: each keeps the folder it was
    // found in, and its JPEG goes below the output folder in the sub-folders
    // between that folder and the photo.
    int addPhotos(const QVector<InputScanner::Photo>& photos);
    // Adds what a drop or a chosen folder held and tells the person what was
    // added and left out (at once for a folder, or when anything was left
    // out); returns how many were added.
    int addCollected(const PhotoFiles::Collected& collected);
    // Ignored when null, so a missing library never replaces a bound one.
    void setDecoder(Heif2JpgFn decoder);

    // What the page holds, for the main window and for tests.
    const QList<QFileInfo>& files() const { return m_files; }
    const QList<int>& tickedRows() const { return m_tickedRows; }
    const QStringList& queuedPaths() const { return m_run->queuedPaths(); }
    QString savePath() const { return m_choices.saveFolder; }
    int quality() const { return m_choices.quality; }
    ConversionOptions options() const { return m_choices.options; }
    bool besidePhotos() const { return m_choices.besidePhotos; }
    // The run in progress, or the last one.
    const BatchRunController& run() const { return *m_run; }
    int successCount() const { return m_run->successCount(); }
    bool isRunning() const { return m_run->isRunning(); }
    const QVector<QPair<QString, QString>>& runFailures() const { return m_run->runFailures(); }
    // Rows whose file is no longer on disk, as last checked.
    bool isMissing(int row) const;
    BatchConvertProgress* progressDialog() const { return m_run->progressDialog(); }
    ConvertsionSet* settingsDialog() const { return m_settings; }
    ConvertThread* worker(int i) const { return m_run->worker(i); }
    static constexpr int kWorkerCount = BatchRunController::kWorkerCount;

signals:
    void signal_ConvertSuccessCount(int nCount);
    void signal_ConvertSuccessAll();

public slots:
    void slot_ChooseItem(int nRow, int nCol);
    void slot_ClearTableView();
    void slot_ClearTable();
    void slot_DeleteTableItem();
    void slot_AddItem();
    void slot_AddFolder();
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
    bool eventFilter(QObject* watched, QEvent* event) override;

    // The places where the page waits for the user or hands off to the
    // system. Tests replace them so they need no real dialog or file manager.
    virtual QStringList chooseFiles(const QString& startLocation);
    virtual QString chooseFolder(const QString& startLocation);
    virtual int runModal(QDialog* dialog);
    virtual void showFolder(const QString& folder);

private:
    void setUpTable();
    void fillRow(int row, const QFileInfo& info);
    void rebuildTable();
    void showTotals();
    void updateButtons();
    void refreshMissing();
    // The row's mark of the last run: converted or failed, with the reason
    // on hover; none for a photo the run did not take.
    void showMark(int row);
    void forgetMarks();
    // The size cell of a row whose file has gone.
    QTableWidgetItem* missingItem() const;
    void tellLater(const QString& text);
    void saveChoices() const;
    QList<VNStyleCheckBox*> liveRowBoxes() const;
    void runStateChanged();

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

    // Folder, quality and options, as remembered from before and changed here.
    SavedChoices::Output m_choices;
    // The folder each photo was found in, by its path; none for a photo
    // added on its own.
    QHash<QString, QString> m_roots;
    ConvertsionSet* m_settings = nullptr;
    BatchRunController* m_run = nullptr;

    QString m_lastAddedPath;
};

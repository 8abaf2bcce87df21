#include "HeicFileTable.h"
#include "ui_HeicFileTable.h"

#include "BatchConvertProgress.h"
#include "BatchRules.h"
#include "ConvertThread.h"
#include "ConvertsionSet.h"
#include "OutputNaming.h"
#include "Platform.h"
#include "TipDialog.h"
#include "VNStyleCheckBox.h"
#include "WorkQueue.h"

#include <QFileDialog>
#include <QHeaderView>
#include <QMutexLocker>
#include <QTableWidgetItem>

namespace {

// One scratch name per worker, in worker order. The workers keep the
// pointers, so these must live as long as the program.
const char* const kScratchNames[HeicFileTable::kWorkerCount] = {
    "temp1.hevc", "temp2.hevc", "temp3.hevc", "temp4.hevc"};

const int kColumnWidths[] = {84, 176, 190, 400};
const int kRowHeight = 44;
const int kHeaderHeight = 34;

QTableWidgetItem* textItem(const QString& text)
{
    auto* item = new QTableWidgetItem(text);
    item->setForeground(QColor(120, 120, 120, 255));
    item->setTextAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    return item;
}

} // namespace

HeicFileTable::HeicFileTable(QWidget* parent)
    : QWidget(parent)
    , ui(new Ui::HeicFileTable)
{
    ui->setupUi(this);
    setUpTable();

    for (auto& worker : m_workers)
        worker = new ConvertThread(this);

    connect(ui->pushButton_Clear, SIGNAL(clicked()), this, SLOT(slot_ClearTableView()));
    connect(ui->pushButton_Delete, SIGNAL(clicked()), this, SLOT(slot_DeleteTableItem()));
    connect(ui->pushButton_Add, SIGNAL(clicked()), this, SLOT(slot_AddItem()));
    connect(ui->pushButton_Convert, SIGNAL(clicked()), this, SLOT(slot_BatchConvert()));
    connect(m_selectAll, SIGNAL(signal_StateChanged(int, int)), this,
            SLOT(slot_setAllCheckBoxState(int, int)));
    connect(this, SIGNAL(signal_ConvertSuccessCount(int)), this, SLOT(slot_SetConvertProgress(int)));
    connect(this, SIGNAL(signal_ConvertSuccessAll()), this, SLOT(slot_ConvertSuccess()));
    for (ConvertThread* worker : m_workers)
        connect(worker, SIGNAL(signal_ConvertSuccess()), this, SLOT(slot_ConvertProgress()));
}

HeicFileTable::~HeicFileTable()
{
    // A QThread destroyed while it runs takes the process down, and a worker
    // may be half way through a file. Each one finishes the file it holds
    // (written whole or not at all) and then sees the flag.
    stopWorkersAndWait();
    delete ui;
}

void HeicFileTable::stopWorkersAndWait()
{
    for (ConvertThread* worker : m_workers)
        worker->setStopFlag(true);
    for (ConvertThread* worker : m_workers)
        worker->wait();
}

void HeicFileTable::setUpTable()
{
    const QString skin = m_skin.skinDir();
    ui->pushButton_Add->setImages(skin + "/Button/add_icon_normal.png",
                                  skin + "/Button/add_icon_hover.png",
                                  skin + "/Button/add_icon_pressing.png", QString());
    ui->pushButton_Delete->setImages(skin + "/Button/delete_icon_normal.png",
                                     skin + "/Button/delete_icon_hover.png",
                                     skin + "/Button/delete_icon_pressing.png",
                                     skin + "/Button/delete_icon_disable.png");
    ui->pushButton_Clear->setImages(skin + "/Button/clear_icon_normal.png",
                                    skin + "/Button/clear_icon_hover.png",
                                    skin + "/Button/clear_icon_pressing.png",
                                    skin + "/Button/clear_icon_disable.png");
    ui->pushButton_Convert->setImages(skin + "/Button/big_button_normal.png",
                                      skin + "/Button/big_button_hover.png",
                                      skin + "/Button/big_button_pressing.png",
                                      skin + "/Button/big_button_disable.png");

    ui->pushButton_Convert->setFont(m_skin.font(42));
    ui->label_FileSize->setFont(m_skin.font(34));
    ui->label_FileCount->setFont(m_skin.font(34));
    ui->tableWidget->setFont(m_skin.font(34));
    ui->pushButton_Convert->setEnabled(false);

    QTableWidget* table = ui->tableWidget;
    table->setColumnCount(4);
    table->setHorizontalHeaderLabels({QString(), tr("Name"), tr("Size"), tr("File Directory")});
    for (int column = 0; column < 4; ++column)
        table->setColumnWidth(column, kColumnWidths[column]);
    table->horizontalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table->horizontalHeader()->setFixedHeight(kHeaderHeight);
    table->verticalHeader()->setDefaultSectionSize(kRowHeight);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setShowGrid(false);
    table->setFrameShape(QFrame::NoFrame);
    table->setAlternatingRowColors(true);
    table->horizontalHeader()->setStyleSheet(QStringLiteral(
        "QHeaderView::section {background-color: #ffffff;color: #484848;border: 0px solid "
        "#eeeeee;border-width: 0px 0px 1px 0px;border-color: #eeeeee;}"));
    table->setStyleSheet(QStringLiteral(
        "alternate-background-color: #FFFFFF; background-color: rgb(246,246,246); "
        "selection-background-color:rgb(234,244,255); selection-color:#484848;"));

    m_selectAll = new VNStyleCheckBox(0, this);
    m_selectAll->setCheckBoxStyleSheet(
        "QCheckBox::indicator:enabled::unchecked{image:url(" + skin
        + "/CheckBox/checkbox_normal.png);}"
          "QCheckBox::indicator:enabled::checked{image:url("
        + skin + "/CheckBox/checkbox_selected.png);}"
                 "QCheckBox::indicator:enabled::indeterminate{image:url("
        + skin + "/CheckBox/checkbox_half_selected.png);}");
    m_selectAll->setMaximumSize(14, 14);
    m_selectAll->move(33, 58);
    m_selectAll->show();
}

void HeicFileTable::fillRow(int row, const QFileInfo& info)
{
    QTableWidget* table = ui->tableWidget;
    table->setItem(row, 1, textItem(info.fileName()));
    table->setItem(row, 2, textItem(BatchRules::megabytesText(double(info.size()))));
    table->setItem(row, 3, textItem(info.filePath()));

    const QString skin = m_skin.skinDir();
    auto* box = new VNStyleCheckBox(row, table);
    box->setCheckBoxStyleSheet("QCheckBox::indicator:enabled::unchecked{image:url(" + skin
                               + "/CheckBox/checkbox_normal.png);}"
                                 "QCheckBox::indicator:enabled::checked{image:url("
                               + skin + "/CheckBox/checkbox_selected.png);}");
    table->setCellWidget(row, 0, box);
    m_rowBoxes.append(box);
    connect(box, SIGNAL(signal_StateChanged(int, int)), this, SLOT(slot_ChooseItem(int, int)));
    connect(box, SIGNAL(signal_Clicked()), this, SLOT(slot_setSelectAllCheckBoxState()));
}

void HeicFileTable::showTotals()
{
    double total = 0.0;
    for (const QFileInfo& info : qAsConst(m_files))
        total += double(info.size());
    ui->label_FileCount->setText(BatchRules::fileCountText(m_files.size()));
    ui->label_FileSize->setText(BatchRules::megabytesText(total));
}

QList<VNStyleCheckBox*> HeicFileTable::liveRowBoxes() const
{
    QList<VNStyleCheckBox*> boxes;
    boxes.reserve(m_rowBoxes.size());
    for (const QPointer<VNStyleCheckBox>& box : m_rowBoxes) {
        if (box)
            boxes.append(box.data());
    }
    return boxes;
}

QStringList HeicFileTable::chooseFiles(const QString& startLocation)
{
    return QFileDialog::getOpenFileNames(this, tr("Choose Images"), startLocation,
                                         tr("Image Files(*.HEIC)"));
}

int HeicFileTable::runModal(QDialog* dialog)
{
    return dialog->exec();
}

void HeicFileTable::showFolder(const QString& folder)
{
    Platform::openFolder(folder);
}

void HeicFileTable::addFiles(const QVector<QString>& paths)
{
    m_files.reserve(m_files.size() + paths.size());
    for (const QString& path : paths) {
        QFileInfo info(path);
        if (info.exists())
            m_files.append(info);
    }
    if (!m_files.isEmpty())
        rebuildTable();
}

void HeicFileTable::setDecoder(Heif2JpgFn decoder)
{
    if (decoder)
        m_decoder = decoder;
}

void HeicFileTable::rebuildTable()
{
    QTableWidget* table = ui->tableWidget;
    table->setRowCount(m_files.size());
    table->clearContents();

    double total = 0.0;
    for (int row = 0; row < m_files.size(); ++row) {
        // Asked afresh: a file deleted behind our back since it was added
        // leaves its row empty and adds nothing to the total.
        const QFileInfo current(m_files.at(row).filePath());
        if (!current.exists())
            continue;
        fillRow(row, current);
        total += double(current.size());
    }
    ui->label_FileCount->setText(BatchRules::fileCountText(m_files.size()));
    ui->label_FileSize->setText(BatchRules::megabytesText(total));

    const bool any = !m_files.isEmpty();
    ui->pushButton_Delete->setEnabled(any);
    ui->pushButton_Clear->setEnabled(any);
}

void HeicFileTable::slot_ChooseItem(int nRow, int nCol)
{
    // The box reports its new state first and its row second.
    const int state = nRow;
    const int row = nCol;
    if (state == Qt::Checked)
        m_tickedRows.append(row);
    else if (state == Qt::Unchecked)
        BatchRules::removeTickedRow(m_tickedRows, row);
}

void HeicFileTable::slot_ClearTableView()
{
    auto* tip = new TipDialog(this);
    m_clearTip = tip;
    m_clearTip->setClearTableTip();
    connect(m_clearTip, SIGNAL(signal_ClearTable()), this, SLOT(slot_ClearTable()));
    runModal(tip);
    // Declined: the question is answered and the dialog is of no further use.
    if (m_clearTip == tip) {
        m_clearTip = nullptr;
        tip->deleteLater();
    }
}

void HeicFileTable::slot_ClearTable()
{
    ui->tableWidget->clearContents();
    m_files.clear();
    m_rowBoxes.clear();
    m_tickedRows.clear();
    m_queuedPaths.clear();
    ui->pushButton_Delete->setEnabled(false);
    ui->pushButton_Clear->setEnabled(false);
    if (m_clearTip) {
        m_clearTip->close();
        m_clearTip->deleteLater();
        m_clearTip = nullptr;
    }
    ui->label_FileCount->setText(BatchRules::clearedCountText());
    ui->label_FileSize->setText(BatchRules::clearedSizeText());
    ui->pushButton_Convert->setEnabled(false);
    m_selectAll->setEnabled(false);
    update();
}

void HeicFileTable::slot_DeleteTableItem()
{
    // Every pass reads the row ticked first again, so the removals start
    // there and take the rows that move up into its place.
    const int passes = m_tickedRows.size();
    for (int pass = 0; pass < passes; ++pass) {
        const int row = m_tickedRows.first();
        if (row < 0 || row >= m_files.size())
            break;
        const QFileInfo target = m_files.at(row);
        m_files.removeAll(target);
    }
    m_rowBoxes.clear();
    m_tickedRows.clear();
    rebuildTable();
    slot_setSelectAllCheckBoxState();
    m_selectAll->setEnabled(!m_files.isEmpty());
    ui->pushButton_Convert->setEnabled(!m_tickedRows.isEmpty());
}

void HeicFileTable::slot_AddItem()
{
    const QStringList chosen =
        chooseFiles(m_lastAddedPath.isEmpty() ? QStringLiteral(".") : m_lastAddedPath);
    if (chosen.isEmpty())
        return;

    for (const QString& path : chosen) {
        const QFileInfo info(path);
        // A path that vanished between the dialog and here is left out; it
        // gets no row, so it cannot take over the row of the file before it.
        if (!info.exists())
            continue;
        m_files.append(info);
        m_lastAddedPath = info.absoluteFilePath();
        ui->tableWidget->setRowCount(m_files.size());
        fillRow(m_files.size() - 1, info);
    }

    showTotals();

    if (!m_files.isEmpty()) {
        m_selectAll->setEnabled(true);
        ui->pushButton_Convert->setEnabled(true);
        ui->pushButton_Clear->setEnabled(true);
        slot_setSelectAllCheckBoxState();
    } else {
        ui->pushButton_Convert->setEnabled(false);
        ui->pushButton_Clear->setEnabled(false);
    }
}

void HeicFileTable::slot_setAllCheckBoxState(int State, int nIndex)
{
    Q_UNUSED(nIndex)
    const QList<VNStyleCheckBox*> boxes = liveRowBoxes();
    for (VNStyleCheckBox* box : boxes) {
        if (State == Qt::Checked)
            box->setCheckState(Qt::Checked);
        else if (State == Qt::Unchecked)
            box->setCheckState(Qt::Unchecked);
    }
    // Once the box has shown "some", Qt would make the next click land on
    // "some" again, a click that selects nothing. Only the rows may put it
    // there, so a settled state switches the third state off.
    if (State != Qt::PartiallyChecked)
        m_selectAll->setTristateOff();

    const bool any = !m_tickedRows.isEmpty();
    ui->pushButton_Convert->setEnabled(any);
    ui->pushButton_Delete->setEnabled(any);
}

void HeicFileTable::slot_setSelectAllCheckBoxState()
{
    const QList<VNStyleCheckBox*> boxes = liveRowBoxes();
    int checked = 0;
    for (VNStyleCheckBox* box : boxes) {
        if (box->checkState() == Qt::Checked)
            ++checked;
    }

    if (checked == boxes.size() && checked != 0) {
        m_selectAll->setCheckState(Qt::Checked);
        ui->pushButton_Delete->setEnabled(true);
        ui->pushButton_Clear->setEnabled(true);
    } else if (checked >= 1 && checked <= boxes.size() - 1) {
        m_selectAll->setCheckState(Qt::PartiallyChecked);
    } else {
        m_selectAll->setCheckState(Qt::Unchecked);
    }

    if (!m_tickedRows.isEmpty()) {
        ui->pushButton_Delete->setEnabled(true);
        ui->pushButton_Clear->setEnabled(true);
        ui->pushButton_Convert->setEnabled(true);
    } else {
        ui->pushButton_Convert->setEnabled(false);
        ui->pushButton_Delete->setEnabled(false);
    }
}

void HeicFileTable::slot_BatchConvert()
{
    auto* dialog = new ConvertsionSet(this);
    m_settings = dialog;
    connect(dialog, SIGNAL(signal_SendSavePath(QString)), this, SLOT(slot_SavePath(QString)));
    connect(dialog, SIGNAL(signal_SetConvertQuality(int)), this, SLOT(slot_ConvertQuality(int)));
    connect(dialog, SIGNAL(signal_Convert()), this, SLOT(slot_StartConvert()));
    runModal(dialog);
    // Closed from its title bar without starting a run: nobody needs it.
    // (A started run has already scheduled its deletion and forgotten it.)
    if (m_settings == dialog) {
        m_settings = nullptr;
        dialog->deleteLater();
    }
}

void HeicFileTable::slot_SavePath(QString strPath)
{
    m_savePath = strPath;
}

void HeicFileTable::slot_ConvertQuality(int nValue)
{
    m_quality = nValue;
}

void HeicFileTable::slot_StartConvert()
{
    if (m_settings) {
        m_settings->close();
        m_settings->deleteLater();
        m_settings = nullptr;
    }

    // Paths go in the order the rows were ticked. Paths a cancelled run left
    // in the queue stay ahead of them and are converted first.
    for (int row : qAsConst(m_tickedRows)) {
        if (row < 0 || row >= m_files.size())
            continue;
        const QString path = m_files.at(row).filePath();
        m_queuedPaths.append(path);
        WorkQueue::global().put(path);
    }

    // A worker still running here was told to stop by the previous run's end
    // or cancel and is finishing the one file it holds. Waiting for it (at
    // most that one file) lets every run start four workers with its own
    // settings, instead of writing settings under a thread that reads them.
    for (ConvertThread* worker : m_workers) {
        if (worker->isRunning()) {
            worker->setStopFlag(true);
            worker->wait();
        }
    }
    for (ConvertThread* worker : m_workers)
        worker->setDecoder(m_decoder);
    for (ConvertThread* worker : m_workers)
        worker->setQuality(m_quality);
    for (ConvertThread* worker : m_workers)
        worker->setSavePath(m_savePath);
    for (int i = 0; i < kWorkerCount; ++i)
        m_workers[size_t(i)]->setScratchFileName(kScratchNames[i]);
    for (ConvertThread* worker : m_workers)
        worker->setStopFlag(false);
    for (ConvertThread* worker : m_workers)
        worker->start(QThread::InheritPriority);

    if (m_progress) {
        runModal(m_progress);
        return;
    }

    auto* dialog = new BatchConvertProgress(this);
    m_progress = dialog;
    connect(dialog, SIGNAL(signal_CancelConvert()), this, SLOT(slot_StopConvert()));
    connect(dialog, SIGNAL(signal_OpenFolder()), this, SLOT(slot_OpenFolder()));
    QPointer<BatchConvertProgress> shown(dialog);
    runModal(dialog);
    // The finished dialog stays on screen until the user closes it; once
    // closed and no longer the current run's, it is of no further use.
    if (shown && shown != m_progress && !shown->isVisible())
        shown->deleteLater();
}

void HeicFileTable::slot_ConvertProgress()
{
    QMutexLocker locker(&m_countLock);
    ++m_successCount;
    // Delivered directly, so slot_SetConvertProgress runs inside the lock and
    // must not take it again.
    emit signal_ConvertSuccessCount(m_successCount);
}

void HeicFileTable::slot_SetConvertProgress(int nCurProgress)
{
    // The total is read now, not when the run started.
    const int total = m_tickedRows.size();
    const QString text = BatchRules::progressText(nCurProgress, total);
    if (m_progress)
        m_progress->setProgress(BatchRules::progressPercent(nCurProgress, total), text);
    if (nCurProgress == total)
        emit signal_ConvertSuccessAll();
}

void HeicFileTable::slot_StopConvert()
{
    for (ConvertThread* worker : m_workers) {
        if (worker->isRunning())
            worker->setStopFlag(true);
    }
    if (m_progress) {
        m_progress->hide();
        m_progress->deleteLater();
        m_progress = nullptr;
    }
    if (!m_stopTip) {
        m_stopTip = new TipDialog(this);
        m_stopTip->setConvertCancelledTip();
        m_stopTip->setConvertedCount(m_successCount);
        connect(m_stopTip, SIGNAL(signal_OpenFolder()), this, SLOT(slot_OpenFolder()));
    }
    TipDialog* tip = m_stopTip;
    runModal(tip);
    if (m_stopTip == tip)
        m_stopTip = nullptr;
    delete tip;
}

void HeicFileTable::slot_ConvertSuccess()
{
    if (m_progress)
        m_progress->setFinished(m_successCount);
    m_successCount = 0;
    m_progress = nullptr;
    for (ConvertThread* worker : m_workers)
        worker->setStopFlag(true);
}

void HeicFileTable::slot_OpenFolder()
{
    const QString folder = OutputNaming::openFolderPath(m_savePath);
    m_savePath = folder;
    showFolder(folder);
    if (m_progress) {
        m_progress->close();
        m_progress->deleteLater();
        m_progress = nullptr;
    }
}

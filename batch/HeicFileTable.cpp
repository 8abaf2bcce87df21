#include "HeicFileTable.h"
#include "ui_HeicFileTable.h"

#include "BatchRules.h"
#include "ConvertsionSet.h"
#include "FolderView.h"
#include "OutputNaming.h"
#include "Platform.h"
#include "SavedChoices.h"
#include "TipDialog.h"
#include "VNMessageBox.h"
#include "VNStyleCheckBox.h"

#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMimeData>
#include <QTableWidgetItem>

#include <algorithm>

namespace {

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
    m_choices = SavedChoices::output();

    m_run = new BatchRunController(
        this, [this](QDialog* dialog) { return runModal(dialog); },
        [this](const QString& folder) { showFolder(folder); });

    connect(ui->pushButton_Clear, SIGNAL(clicked()), this, SLOT(slot_ClearTableView()));
    connect(ui->pushButton_Delete, SIGNAL(clicked()), this, SLOT(slot_DeleteTableItem()));
    connect(ui->pushButton_Add, SIGNAL(clicked()), this, SLOT(slot_AddItem()));
    connect(ui->pushButton_AddFolder, &QPushButton::clicked, this, &HeicFileTable::slot_AddFolder);
    connect(ui->pushButton_Convert, SIGNAL(clicked()), this, SLOT(slot_BatchConvert()));
    connect(m_selectAll, SIGNAL(signal_StateChanged(int, int)), this,
            SLOT(slot_setAllCheckBoxState(int, int)));
    // The run's progress reaches whoever listens to the page.
    connect(m_run, SIGNAL(signal_ConvertSuccessCount(int)), this, SIGNAL(signal_ConvertSuccessCount(int)));
    connect(m_run, SIGNAL(signal_ConvertSuccessAll()), this, SIGNAL(signal_ConvertSuccessAll()));
    connect(m_run, &BatchRunController::signal_RunStateChanged, this, &HeicFileTable::runStateChanged);
    // Each row shows how its photo ended as soon as it has.
    connect(m_run, &BatchRunController::signal_PhotoEnded, this, [this](const QString& source) {
        for (int row = 0; row < m_files.size(); ++row) {
            if (m_files.at(row).filePath() == source)
                showMark(row);
        }
    });
    setAcceptDrops(true);
}

HeicFileTable::~HeicFileTable()
{
    // The run goes first: its destructor waits for the photos in hand, whose
    // reports must not reach a table that is half gone.
    delete m_run;
    delete ui;
}

void HeicFileTable::setUpTable()
{
    const QString skin = m_skin.skinDir();
    ui->pushButton_Add->setImages(skin + "/Button/add_icon_normal.png",
                                  skin + "/Button/add_icon_hover.png",
                                  skin + "/Button/add_icon_pressing.png", QString());
    ui->pushButton_AddFolder->setImages(skin + "/Button/addfolder_icon_normal.png",
                                        skin + "/Button/addfolder_icon_hover.png",
                                        skin + "/Button/addfolder_icon_pressing.png", QString());
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
    // Headers stand over their values, which are left-aligned.
    table->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    table->verticalHeader()->setDefaultSectionSize(kRowHeight);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setShowGrid(false);
    table->setFrameShape(QFrame::NoFrame);
    table->setAlternatingRowColors(true);
    // One keyboard stop for the whole list: Tab goes on to the next control
    // (the arrow keys move within the table) and Space ticks the current row.
    table->setTabKeyNavigation(false);
    table->installEventFilter(this);
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
    if (!info.exists()) {
        table->setItem(row, 2, missingItem());
    }

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
    showMark(row);
}

void HeicFileTable::showTotals()
{
    double total = 0.0;
    for (const QFileInfo& info : qAsConst(m_files)) {
        // Asked afresh: a file deleted behind our back adds nothing.
        const QFileInfo current(info.filePath());
        if (current.exists())
            total += double(current.size());
    }
    ui->label_FileCount->setText(BatchRules::fileCountText(m_files.size()));
    ui->label_FileSize->setText(BatchRules::megabytesText(total));
}

void HeicFileTable::updateButtons()
{
    const bool any = !m_files.isEmpty();
    const bool ticked = !m_tickedRows.isEmpty();
    const bool running = m_run->isRunning();
    ui->pushButton_Clear->setEnabled(any && !running);
    ui->pushButton_Delete->setEnabled(ticked && !running);
    ui->pushButton_Add->setEnabled(!running);
    // One run at a time: Convert waits for the run on screen to end.
    ui->pushButton_Convert->setEnabled(ticked && !running);
    m_selectAll->setEnabled(any);
}

void HeicFileTable::runStateChanged()
{
    updateButtons();
    // A new run starts without the last one's marks; once it ends, files
    // may have gone meanwhile.
    if (m_run->isRunning())
        forgetMarks();
    else
        refreshMissing();
}

QTableWidgetItem* HeicFileTable::missingItem() const
{
    QTableWidgetItem* size = textItem(tr("Missing"));
    size->setForeground(QColor(0xe6, 0x43, 0x40));
    size->setToolTip(tr("This file is no longer on disk."));
    return size;
}

bool HeicFileTable::isMissing(int row) const
{
    const QTableWidgetItem* size = ui->tableWidget->item(row, 2);
    return size && size->text() == tr("Missing");
}

void HeicFileTable::refreshMissing()
{
    for (int row = 0; row < m_files.size(); ++row) {
        const QFileInfo current(m_files.at(row).filePath());
        if (current.exists() == !isMissing(row))
            continue;
        QTableWidget* table = ui->tableWidget;
        if (current.exists()) {
            table->setItem(row, 2, textItem(BatchRules::megabytesText(double(current.size()))));
        } else {
            table->setItem(row, 2, missingItem());
        }
        showMark(row);
    }
    showTotals();
}

void HeicFileTable::showMark(int row)
{
    QTableWidget* table = ui->tableWidget;
    QTableWidgetItem* name = table->item(row, 1);
    if (!name || row >= m_files.size())
        return;
    QString reason;
    const BatchRunController::Outcome outcome = m_run->outcome(m_files.at(row).filePath(), &reason);
    QString mark;
    QString hover;
    if (outcome == BatchRunController::Converted) {
        mark = QStringLiteral("/Label/row_converted.png");
        hover = tr("Converted");
    } else if (outcome == BatchRunController::Failed) {
        mark = QStringLiteral("/Label/row_failed.png");
        hover = tr("Not converted: %1").arg(reason);
    }
    name->setIcon(mark.isEmpty() ? QIcon()
                                 : QIcon(SkinStyle::pixmap(m_skin.skinDir() + mark, devicePixelRatioF())));
    // The whole row tells it on hover, except a size cell that says the
    // file is gone.
    for (int column = 1; column < table->columnCount(); ++column) {
        if (QTableWidgetItem* item = table->item(row, column); item && !(column == 2 && isMissing(row)))
            item->setToolTip(hover);
    }
}

void HeicFileTable::forgetMarks()
{
    m_run->forgetOutcomes();
    for (int row = 0; row < m_files.size(); ++row)
        showMark(row);
}

bool HeicFileTable::eventFilter(QObject* watched, QEvent* event)
{
    QTableWidget* table = ui->tableWidget;
    if (watched != table)
        return QWidget::eventFilter(watched, event);
    // Arriving by keyboard shows where one is: the current row is framed
    // while the table has the focus (NoFocusDelegate).
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) {
        if (table->currentRow() < 0 && table->rowCount() > 0)
            table->setCurrentCell(0, 1);
        table->viewport()->update();
    }
    if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Space) {
        if (auto* box = qobject_cast<VNStyleCheckBox*>(table->cellWidget(table->currentRow(), 0))) {
            box->click();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

bool HeicFileTable::event(QEvent* event)
{
    // Coming back to the window after using the file manager: files may have
    // gone (or come back) meanwhile.
    if (event->type() == QEvent::WindowActivate)
        refreshMissing();
    return QWidget::event(event);
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
                                         PhotoFiles::nameFilter());
}

QString HeicFileTable::chooseFolder(const QString& startLocation)
{
    return QFileDialog::getExistingDirectory(this, tr("Choose a Folder"), startLocation,
                                             QFileDialog::ShowDirsOnly);
}

int HeicFileTable::runModal(QDialog* dialog)
{
    return dialog->exec();
}

void HeicFileTable::showFolder(const QString& folder)
{
    if (Platform::openFolder(folder))
        return;
    VNMessageBox box(FolderView::notShownText(folder), VNMessageBox::defaultTitle(), VNMessageBox::Ok, this);
    runModal(&box);
}

int HeicFileTable::addFiles(const QVector<QString>& paths)
{
    QVector<InputScanner::Photo> photos;
    photos.reserve(paths.size());
    for (const QString& path : paths)
        photos.append({path, QString()});
    return addPhotos(photos);
}

int HeicFileTable::addPhotos(const QVector<InputScanner::Photo>& photos)
{
    QSet<QString> present;
    for (const QFileInfo& info : qAsConst(m_files))
        present.insert(QDir::cleanPath(info.absoluteFilePath()));

    QTableWidget* table = ui->tableWidget;
    int added = 0;
    for (const InputScanner::Photo& photo : photos) {
        const QFileInfo info(photo.path);
        // A path that vanished between the chooser and here gets no row, and
        // a photo already listed is not listed twice.
        const QString key = QDir::cleanPath(info.absoluteFilePath());
        if (!info.exists() || present.contains(key))
            continue;
        present.insert(key);
        if (photo.root.isEmpty())
            m_roots.remove(key);
        else
            m_roots.insert(key, photo.root);
        m_files.append(info);
        const int row = m_files.size() - 1;
        table->setRowCount(m_files.size());
        fillRow(row, info);
        // New rows come ticked, so Convert is ready at once.
        m_rowBoxes.last()->setCheckState(Qt::Checked);
        ++added;
    }
    // The last run's marks were about another list.
    if (added > 0)
        forgetMarks();
    if (!photos.isEmpty())
        PhotoFiles::rememberFolder(photos.last().root.isEmpty() ? photos.last().path : photos.last().root);
    showTotals();
    slot_setSelectAllCheckBoxState();
    updateButtons();
    return added;
}

int HeicFileTable::addCollected(const PhotoFiles::Collected& collected)
{
    const int added = addPhotos(collected.photos);
    tellLater(PhotoFiles::addedText(collected, added));
    return added;
}

void HeicFileTable::setDecoder(Heif2JpgFn decoder)
{
    m_run->setDecoder(decoder);
}

void HeicFileTable::rebuildTable()
{
    QTableWidget* table = ui->tableWidget;
    table->clearContents();
    table->setRowCount(m_files.size());
    m_rowBoxes.clear();
    for (int row = 0; row < m_files.size(); ++row)
        fillRow(row, QFileInfo(m_files.at(row).filePath()));
    showTotals();
    updateButtons();
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
    ui->tableWidget->setRowCount(0);
    m_files.clear();
    m_roots.clear();
    m_rowBoxes.clear();
    m_tickedRows.clear();
    m_run->clearQueuedPaths();
    m_run->forgetOutcomes();
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
    if (m_run->isRunning())
        return;
    // Exactly the ticked rows go, taken from the bottom up so the rows still
    // to remove keep their numbers.
    QList<int> rows = m_tickedRows;
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    for (int i = rows.size() - 1; i >= 0; --i) {
        const int row = rows.at(i);
        if (row >= 0 && row < m_files.size())
            m_files.removeAt(row);
    }
    m_tickedRows.clear();
    m_run->forgetOutcomes();
    rebuildTable();
    slot_setSelectAllCheckBoxState();
    updateButtons();
}

void HeicFileTable::slot_AddItem()
{
    const QStringList chosen = chooseFiles(PhotoFiles::startFolder());
    if (chosen.isEmpty())
        return;
    addFiles(chosen.toVector());
}

void HeicFileTable::slot_AddFolder()
{
    if (m_run->isRunning())
        return;
    const QString folder = chooseFolder(PhotoFiles::startFolder());
    if (!folder.isEmpty())
        addCollected(PhotoFiles::collect(QStringList{folder}));
}

void HeicFileTable::dragEnterEvent(QDragEnterEvent* event)
{
    if (!m_run->isRunning() && event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void HeicFileTable::dropEvent(QDropEvent* event)
{
    event->acceptProposedAction();
    addCollected(PhotoFiles::collect(event->mimeData()->urls()));
}

void HeicFileTable::tellLater(const QString& text)
{
    // Not from inside the drop: the file manager waits for the drop to end.
    VNMessageBox::tellLater(this, text, [this](QDialog* box) { return runModal(box); });
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
    updateButtons();
}

void HeicFileTable::slot_setSelectAllCheckBoxState()
{
    const QList<VNStyleCheckBox*> boxes = liveRowBoxes();
    int checked = 0;
    for (VNStyleCheckBox* box : boxes) {
        if (box->checkState() == Qt::Checked)
            ++checked;
    }

    // The header box says what the rows hold; its own signal must not tick
    // or untick them in turn.
    const QSignalBlocker quiet(m_selectAll);
    if (checked == boxes.size() && checked != 0) {
        m_selectAll->setCheckState(Qt::Checked);
    } else if (checked >= 1 && checked <= boxes.size() - 1) {
        m_selectAll->setCheckState(Qt::PartiallyChecked);
    } else {
        m_selectAll->setCheckState(Qt::Unchecked);
    }

    updateButtons();
}

void HeicFileTable::slot_BatchConvert()
{
    if (m_run->isRunning() || m_tickedRows.isEmpty())
        return;
    auto* dialog = new ConvertsionSet(this);
    m_settings = dialog;
    dialog->showSaveFolder(OutputNaming::openFolderPath(m_choices.saveFolder));
    dialog->showChoices(m_choices.quality, m_choices.options, m_choices.besidePhotos);
    connect(dialog, SIGNAL(signal_SendSavePath(QString)), this, SLOT(slot_SavePath(QString)));
    connect(dialog, SIGNAL(signal_SetConvertQuality(int)), this, SLOT(slot_ConvertQuality(int)));
    connect(dialog, &ConvertsionSet::signal_SetOptions, this, [this](const ConversionOptions& options) {
        m_choices.options = options;
        saveChoices();
    });
    connect(dialog, &ConvertsionSet::signal_BesidePhotos, this, [this](bool beside) {
        m_choices.besidePhotos = beside;
        saveChoices();
    });
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
    m_choices.saveFolder = strPath;
    PhotoFiles::rememberFolder(strPath);
    saveChoices();
    if (m_settings)
        m_settings->showSaveFolder(OutputNaming::openFolderPath(m_choices.saveFolder));
}

void HeicFileTable::slot_ConvertQuality(int nValue)
{
    m_choices.quality = nValue;
    saveChoices();
}

void HeicFileTable::saveChoices() const
{
    SavedChoices::setOutput(m_choices);
}

void HeicFileTable::slot_StartConvert()
{
    if (m_settings) {
        m_settings->close();
        m_settings->deleteLater();
        m_settings = nullptr;
    }
    // The ticked rows in tick order, each photo once.
    QStringList sources, roots;
    for (int row : qAsConst(m_tickedRows)) {
        if (row >= 0 && row < m_files.size() && !sources.contains(m_files.at(row).filePath())) {
            sources << m_files.at(row).filePath();
            roots << m_roots.value(QDir::cleanPath(m_files.at(row).absoluteFilePath()));
        }
    }
    m_run->start(sources, roots, m_choices);
}

void HeicFileTable::slot_ConvertProgress()
{
    m_run->slot_ConvertProgress();
}

void HeicFileTable::slot_ConvertFailed(const QString& source, const QString& reason)
{
    m_run->slot_ConvertFailed(source, reason);
}

void HeicFileTable::slot_SetConvertProgress(int nCurProgress)
{
    m_run->slot_SetConvertProgress(nCurProgress);
}

void HeicFileTable::slot_WorkerFinished()
{
    m_run->slot_WorkerFinished();
}

void HeicFileTable::slot_StopConvert()
{
    m_run->slot_StopConvert();
}

void HeicFileTable::slot_ConvertSuccess()
{
    m_run->slot_ConvertSuccess();
}

void HeicFileTable::slot_OpenFolder()
{
    m_run->openFolder(m_choices.saveFolder);
}

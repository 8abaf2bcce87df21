#include "BatchConvertProgress.h"
#include "ui_BatchConvertProgress.h"

#include "BatchRules.h"
#include "TipDialog.h"
#include "StyleHelpers.h"

#include <QEvent>
#include <QFileInfo>
#include <QStringList>
#include <QPointer>

BatchConvertProgress::BatchConvertProgress(QWidget* parent)
    : VNStyleDialog(parent)
    , ui(new Ui::BatchConvertProgress)
{
    ui->setupUi(this);

    ui->widget->setTitleText(tr("Converting Photos"));
    // The title bar's close (and with it Escape and the window manager's
    // close) must go through the cancel question, not close the dialog under
    // a running batch.
    ui->widget->setEmitCloseSignal(true);
    ui->widget->setParentWidget(this, QPoint(5, 5), true);

    const QFont regular = m_skin.font(34);
    for (QWidget* w : {static_cast<QWidget*>(ui->label_Converting),
                       static_cast<QWidget*>(ui->label_Progress),
                       static_cast<QWidget*>(ui->label_files),
                       static_cast<QWidget*>(ui->progressBar),
                       static_cast<QWidget*>(ui->pushButton_OpenFolder),
                       static_cast<QWidget*>(ui->pushButton_Cancel),
                       static_cast<QWidget*>(ui->pushButton_OK)})
        w->setFont(regular);

    const QString skin = m_skin.skinDir();
    ui->pushButton_OpenFolder->setImages(skin + "/Button/button100_normal.png",
                                         skin + "/Button/button100_hover.png",
                                         skin + "/Button/button100_pressing.png");
    ui->pushButton_Cancel->setImages(skin + "/Button/button100_normal.png",
                                     skin + "/Button/button100_hover.png",
                                     skin + "/Button/button100_pressing.png");
    ui->pushButton_OK->setImages(skin + "/Button/button100_2_normal.png",
                                 skin + "/Button/button100_2_hover.png",
                                 skin + "/Button/button100_2_pressing.png");

    ui->progressBar->setTextVisible(false);

    ui->pushButton_Cancel->installEventFilter(this);
    ui->pushButton_OpenFolder->installEventFilter(this);

    ui->pushButton_OpenFolder->hide();
    ui->pushButton_OK->hide();
    ui->label_Folder->setFont(regular);
    ui->label_Failed->setFont(regular);
    ui->plainTextEdit_Failed->setFont(m_skin.font(0));
    ui->label_Folder->hide();
    ui->label_Failed->hide();
    ui->plainTextEdit_Failed->hide();

    connect(ui->pushButton_Cancel, SIGNAL(clicked()), this, SLOT(slot_isCancelView()));
    connect(ui->pushButton_OpenFolder, SIGNAL(clicked()), this, SLOT(slot_OpenFolder()));
    connect(ui->pushButton_OK, SIGNAL(clicked()), this, SLOT(slot_Close()));
    connect(ui->widget, SIGNAL(signal_Close()), this, SLOT(slot_isCancelView()));
}

BatchConvertProgress::~BatchConvertProgress()
{
    delete ui;
}

void BatchConvertProgress::setProgress(const int& percent, const QString& countText)
{
    ui->label_Progress->setText(countText);
    // Until the first photos are done the bar has nothing to show; without
    // a range Qt keeps its chunk moving, so a long first photo (a 200 MP one
    // takes seconds) still shows that work goes on.
    ui->progressBar->setRange(0, percent > 0 ? 100 : 0);
    ui->progressBar->setValue(percent);
}

void BatchConvertProgress::setFinished(int count, const QVector<QPair<QString, QString>>& failures,
                                       const QString& folder)
{
    setFinished(count);
    const QString where = BatchRules::folderText(folder);
    ui->label_Folder->setText(
        ui->label_Folder->fontMetrics().elidedText(where, Qt::ElideMiddle, 420));
    ui->label_Folder->setToolTip(where);
    ui->label_Folder->show();
    if (failures.isEmpty())
        return;
    if (count <= 0)
        ui->label_Converting->setText(tr("No file was converted."));
    ui->label_Failed->setText(BatchRules::failedText(failures.size()));
    ui->label_Failed->show();
    QStringList lines;
    for (const auto& failure : failures)
        lines << QFileInfo(failure.first).fileName() + QStringLiteral(": ") + failure.second;
    ui->plainTextEdit_Failed->setPlainText(lines.join(QLatin1Char('\n')));
    ui->plainTextEdit_Failed->setToolTip(QString());
    ui->plainTextEdit_Failed->show();
    // Room for the list; the card grows both ways so it stays centred.
    const int grow = 360 - height();
    setFixedSize(490, 360);
    move(x(), y() - grow / 2);
}

void BatchConvertProgress::setCancelling()
{
    ui->pushButton_Cancel->setEnabled(false);
    ui->pushButton_Cancel->hide();
    ui->label_Converting->setText(tr("Cancelling: finishing the photos in hand..."));
    ui->progressBar->setRange(0, 0);
    ui->label_Progress->hide();
    ui->label_files->hide();
}

void BatchConvertProgress::setFinished(int count)
{
    m_finished = true;
    // The run ended while the cancel question waited: there is nothing left
    // to cancel, so the question goes and the result shows.
    if (m_cancelTip && m_cancelTip->isVisible())
        m_cancelTip->close();
    ui->pushButton_OpenFolder->show();
    ui->pushButton_OK->show();
    ui->pushButton_Cancel->hide();
    // The bar stays where the count left it.
    if (ui->progressBar->maximum() == 0)
        ui->progressBar->setRange(0, 100);
    // Return closes the result, as OK does.
    ui->pushButton_OK->setDefault(true);
    ui->pushButton_OK->setFocus(Qt::OtherFocusReason);

    const QString result = BatchRules::finishedText(count);
    if (!result.isEmpty())
        ui->label_Converting->setText(result);

    ui->label_Progress->hide();
    ui->label_files->hide();
}

int BatchConvertProgress::runModal(QDialog* dialog)
{
    return dialog->exec();
}

void BatchConvertProgress::slot_isCancelView()
{
    // A finished run has nothing left to cancel: closing just closes.
    if (m_finished) {
        close();
        return;
    }
    if (!ui->pushButton_Cancel->isEnabled())
        return; // already cancelling
    if (!m_cancelTip) {
        m_cancelTip = new TipDialog(this);
        m_cancelTip->setCancelConvertTip();
        connect(m_cancelTip, SIGNAL(signal_CancelConver()), this, SLOT(slot_CancelConvert()));
    }
    // The count goes on while the question waits; it stays in sight.
    m_cancelTip->placeClearOf(this);
    runModal(m_cancelTip);
}

void BatchConvertProgress::slot_CancelConvert()
{
    if (m_cancelTip)
        m_cancelTip->hide();
    // The page answers by scheduling this dialog's deletion and showing its
    // own notice; should anything delete us outright, stop touching members.
    QPointer<BatchConvertProgress> alive(this);
    emit signal_CancelConvert();
    if (alive && m_cancelTip) {
        m_cancelTip->close();
        m_cancelTip->deleteLater();
        m_cancelTip = nullptr;
    }
}

void BatchConvertProgress::slot_OpenFolder()
{
    emit signal_OpenFolder();
}

void BatchConvertProgress::slot_Close()
{
    close();
}

bool BatchConvertProgress::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == ui->pushButton_Cancel || watched == ui->pushButton_OpenFolder)
        StyleHelpers::applyTextButtonHover(static_cast<QWidget*>(watched), event);
    return QDialog::eventFilter(watched, event);
}

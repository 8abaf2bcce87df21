#include "SingleConverting.h"
#include "ui_SingleConverting.h"

#include "StyleHelpers.h"

#include <QDir>
#include <QEvent>
#include <QPoint>

SingleConverting::SingleConverting(QWidget* parent)
    : VNStyleDialog(parent)
    , ui(new Ui::SingleConverting)
{
    ui->setupUi(this);

    ui->widget_Title->setParentWidget(this, QPoint(5, 5), false);
    ui->widget_Title->setTitleText(tr("Converting Photo"));
    // The title bar's close is this dialog's close: a cancel while working.
    ui->widget_Title->setEmitCloseSignal(true);

    const QFont regular14 = m_skin.font(0);
    ui->label_States->setFont(regular14);
    ui->label_States->setText(tr("The HEIC file has been successfully converted!"));
    ui->label_States->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);

    const QString skinDir = m_skin.skinDir();
    for (VNStyleButton* button : {ui->pushButton_OpenFolder, ui->pushButton_Ok}) {
        button->setImages(skinDir + "/Button/button100_normal.png",
                          skinDir + "/Button/button100_hover.png",
                          skinDir + "/Button/button100_pressing.png", QString());
        button->setFont(regular14);
        button->setAttribute(Qt::WA_Hover);
        button->installEventFilter(this);
    }

    ui->progressBar->setValue(100);
    ui->progressBar->setTextVisible(false);
    ui->label_SavedAs->setFont(m_skin.font(0));
    ui->label_SavedAs->hide();

    connect(ui->pushButton_OpenFolder, SIGNAL(clicked()), this, SLOT(slot_OpenFolder()));
    connect(ui->pushButton_Ok, SIGNAL(clicked()), this, SLOT(slot_Close()));
    connect(ui->widget_Title, SIGNAL(signal_Close()), this, SLOT(slot_Close()));
}

SingleConverting::~SingleConverting()
{
    delete ui;
}

void SingleConverting::setWorking(const QString& fileName)
{
    m_working = true;
    const QString text = tr("Converting %1...").arg(fileName);
    ui->label_States->setText(ui->label_States->fontMetrics().elidedText(text, Qt::ElideMiddle, 420));
    ui->label_States->setToolTip(text);
    ui->label_States->setStyleSheet(QStringLiteral("color:#484848"));
    // No range: the bar keeps moving while the library decodes, which it
    // does in one call with nothing to count.
    ui->progressBar->setRange(0, 0);
    ui->progressBar->show();
    ui->label_SavedAs->hide();
    ui->pushButton_OpenFolder->hide();
    ui->pushButton_Ok->setText(tr("Cancel"));
    ui->pushButton_Ok->setDefault(true);
}

void SingleConverting::showEnded(const QString& text, bool success)
{
    m_working = false;
    ui->label_States->setText(text);
    ui->label_States->setToolTip(QString());
    ui->label_States->setStyleSheet(success ? QStringLiteral("color:#484848") : QStringLiteral("color:#e64340"));
    ui->label_States->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    ui->progressBar->setRange(0, 100);
    ui->progressBar->setValue(100);
    ui->progressBar->setVisible(success);
    ui->pushButton_OpenFolder->setVisible(success);
    ui->pushButton_Ok->setText(tr("OK"));
    ui->pushButton_Ok->setDefault(true);
    // Enter takes the answer a person would click.
    ui->pushButton_Ok->setFocus(Qt::OtherFocusReason);
}

void SingleConverting::setSavedPath(const QString& path)
{
    const QString text = tr("Saved as %1").arg(QDir::toNativeSeparators(path));
    ui->label_SavedAs->setText(ui->label_SavedAs->fontMetrics().elidedText(text, Qt::ElideMiddle, 420));
    ui->label_SavedAs->setToolTip(text);
    ui->label_SavedAs->setVisible(!path.isEmpty());
}

void SingleConverting::setFailed(const QString& text)
{
    showEnded(text, false);
    ui->label_States->setWordWrap(true);
    ui->label_States->setMaximumHeight(60);
    ui->label_SavedAs->hide();
}

void SingleConverting::slot_SetProgressValue(int nValue)
{
    ui->label_States->setText(QString::number(nValue) + QLatin1Char('%'));
    ui->progressBar->setRange(0, 100);
    ui->progressBar->setValue(nValue);
}

void SingleConverting::slot_ConvertSuccess()
{
    showEnded(tr("The HEIC file has been successfully converted!"), true);
}

void SingleConverting::slot_Close()
{
    if (m_working) {
        m_working = false;
        emit signal_CancelConvert();
    }
    close();
}

void SingleConverting::slot_OpenFolder()
{
    // The dialog stays up so the user can still confirm with OK afterwards.
    emit signal_OpenFolder();
}

bool SingleConverting::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == ui->pushButton_OpenFolder || watched == ui->pushButton_Ok)
        StyleHelpers::applyTextButtonHover(static_cast<QWidget*>(watched), event);
    return QDialog::eventFilter(watched, event);
}

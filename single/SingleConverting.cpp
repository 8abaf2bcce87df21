#include "SingleConverting.h"
#include "ui_SingleConverting.h"

#include <QDir>
#include "StyleHelpers.h"

#include <QEvent>
#include <QPoint>

SingleConverting::SingleConverting(QWidget* parent)
    : QDialog(parent)
    , ui(new Ui::SingleConverting)
{
    ui->setupUi(this);
    setWindowFlags(windowFlags() | Qt::FramelessWindowHint | Qt::WindowSystemMenuHint
                   | Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint);
    setAttribute(Qt::WA_TranslucentBackground);

    ui->widget_Title->setParentWidget(this, QPoint(5, 5), false);
    ui->widget_Title->setTitleText(tr("Converting Photo"));

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
}

SingleConverting::~SingleConverting()
{
    delete ui;
}

void SingleConverting::setSavedPath(const QString& path)
{
    const QString text = tr("Saved as %1").arg(QDir::toNativeSeparators(path));
    ui->label_SavedAs->setText(
        ui->label_SavedAs->fontMetrics().elidedText(text, Qt::ElideMiddle, 420));
    ui->label_SavedAs->setToolTip(text);
    ui->label_SavedAs->setVisible(!path.isEmpty());
}

void SingleConverting::slot_SetProgressValue(int nValue)
{
    ui->label_States->setText(QString::number(nValue) + QLatin1Char('%'));
    ui->progressBar->setValue(nValue);
}

void SingleConverting::slot_ConvertSuccess()
{
    ui->label_States->setText(tr("The HEIC file has been successfully converted!"));
    ui->label_States->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    ui->pushButton_OpenFolder->show();
    ui->pushButton_Ok->show();
    ui->progressBar->setValue(100);
}

void SingleConverting::slot_Close()
{
    close();
}

void SingleConverting::slot_OpenFolder()
{
    // The dialog stays up so the user can still confirm with OK afterwards.
    emit signal_OpenFolder();
}

void SingleConverting::paintEvent(QPaintEvent* event)
{
    m_frame.paint(this);
    QDialog::paintEvent(event);
}

bool SingleConverting::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == ui->pushButton_OpenFolder || watched == ui->pushButton_Ok)
        StyleHelpers::applyTextButtonHover(static_cast<QWidget*>(watched), event);
    return QDialog::eventFilter(watched, event);
}

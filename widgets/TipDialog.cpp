#include "TipDialog.h"

#include "ui_TipDialog.h"
#include "StyleHelpers.h"

#include <QEvent>
#include <QLabel>
#include <QScreen>
#include <QShowEvent>
#include <QPixmap>

TipDialog::TipDialog(QWidget* parent)
    : VNStyleDialog(parent)
    , ui(new Ui::TipDialog)
{
    ui->setupUi(this);
    ui->widget_Title->setParentWidget(this, QPoint(5, 5), true);

    ui->label_StatesText->setFont(m_style.font(38));
    ui->label_SuccessText->setFont(m_style.font(34));
    ui->pushButton_Yes->setFont(m_style.font(34));
    ui->pushButton_OK->setFont(m_style.font(34));

    const QString skin = m_style.skinDir();
    for (VNStyleButton* button : {ui->pushButton_Yes, ui->pushButton_OK})
        button->setImages(skin + "/Button/button100_normal.png", skin + "/Button/button100_hover.png",
                          skin + "/Button/button100_pressing.png", QString());

    ui->pushButton_OK->installEventFilter(this);
    ui->pushButton_Yes->installEventFilter(this);

    ui->widget_Title->setTitleText(tr("Attention"));
}

TipDialog::~TipDialog()
{
    delete ui;
}

void TipDialog::showPicture(const QString& skinPath)
{
    ui->label_StatesImage->setPixmap(SkinStyle::pixmap(m_style.skinDir() + skinPath, devicePixelRatioF()));
}

void TipDialog::askYesNo(const QString& question)
{
    disconnect(this);
    showPicture(QStringLiteral("/Label/tips_confirm.png"));
    ui->label_StatesText->setText(question);
    ui->label_StatesText->setFont(m_style.font(34));
    ui->label_StatesText->setStyleSheet(QStringLiteral("color:#484848"));
    ui->label_SuccessText->hide();
    ui->pushButton_OK->setText(tr("No"));
    connect(ui->pushButton_OK, SIGNAL(clicked()), this, SLOT(slot_Close()));
}

void TipDialog::setCancelConvertTip()
{
    askYesNo(tr("Are you sure to cancel the file conversion?"));
    connect(ui->pushButton_Yes, SIGNAL(clicked()), this, SIGNAL(signal_CancelConver()));
    setDefaultAnswer(ui->pushButton_Yes);
}

void TipDialog::setClearTableTip()
{
    askYesNo(tr("Are you sure to trash all the files here?"));
    connect(ui->pushButton_Yes, SIGNAL(clicked()), this, SIGNAL(signal_ClearTable()));
    setDefaultAnswer(ui->pushButton_Yes);
}

void TipDialog::setConvertCancelledTip()
{
    disconnect(this);
    showPicture(QStringLiteral("/Label/tips_cancel.png"));
    ui->label_StatesText->setText(tr("Conversion Cancelled!"));
    ui->label_StatesText->setFont(m_style.font(38));
    ui->label_StatesText->setStyleSheet(QStringLiteral("color:#484848"));
    // The number goes straight in front of the text, hence its leading blank.
    ui->label_SuccessText->setText(QString::number(m_convertedCount)
                                   + tr(" files have been successfully converted."));
    ui->label_SuccessText->setFont(m_style.font(34));
    ui->label_SuccessText->setStyleSheet(QStringLiteral("color:#787878"));
    ui->label_SuccessText->show();
    ui->pushButton_Yes->setText(tr("Open Folder"));
    ui->pushButton_OK->setText(tr("No"));
    connect(ui->pushButton_Yes, SIGNAL(clicked()), this, SIGNAL(signal_OpenFolder()));
    connect(ui->pushButton_OK, SIGNAL(clicked()), this, SLOT(slot_Close()));
    // A notice: Enter just acknowledges it.
    setDefaultAnswer(ui->pushButton_OK);
}

void TipDialog::setConvertedCount(int count)
{
    m_convertedCount = count;
    ui->label_SuccessText->setText(QString::number(count)
                                   + QStringLiteral(" files have been successfully converted."));
    ui->pushButton_OK->setText(QStringLiteral("OK"));
}

void TipDialog::setDetailText(const QString& text)
{
    if (!m_detail) {
        m_detail = new QLabel(this);
        m_detail->setObjectName(QStringLiteral("label_DetailText"));
        m_detail->setFont(m_style.font(0));
        m_detail->setStyleSheet(QStringLiteral("color:#787878"));
        ui->verticalLayout_3->addWidget(m_detail);
    }
    m_detail->setText(m_detail->fontMetrics().elidedText(text, Qt::ElideMiddle, 360));
    m_detail->setToolTip(text);
    m_detail->setVisible(!text.isEmpty());
}

void TipDialog::setQuitTip()
{
    showPicture(QStringLiteral("/Label/tips_confirm.png"));
    ui->label_StatesText->setText(tr("Are you sure to quit the program?"));
    ui->label_SuccessText->hide();
    ui->pushButton_Yes->setText(tr("Yes"));
    ui->pushButton_Yes->show();
    ui->pushButton_OK->setText(tr("No"));
    ui->pushButton_OK->show();
    connect(ui->pushButton_Yes, SIGNAL(clicked()), this, SLOT(slot_Exit()));
    connect(ui->pushButton_OK, SIGNAL(clicked()), this, SLOT(slot_Close()));
    ui->widget_Title->setTitleText(tr("Attention"));
    setDefaultAnswer(ui->pushButton_Yes);
}

void TipDialog::setLeaveListTip(int count)
{
    askYesNo(tr("Are you sure to leave this list?"));
    ui->label_SuccessText->setText(count == 1 ? tr("The photo is taken off the list; the file stays on disk.")
                                              : tr("The %1 photos are taken off the list; the files stay on disk.")
                                                    .arg(count));
    ui->label_SuccessText->setFont(m_style.font(34));
    ui->label_SuccessText->setStyleSheet(QStringLiteral("color:#787878"));
    ui->label_SuccessText->show();
    connect(ui->pushButton_Yes, SIGNAL(clicked()), this, SLOT(accept()));
    setDefaultAnswer(ui->pushButton_OK);
}

void TipDialog::placeClearOf(const QWidget* keepVisible)
{
    const QRect kept = keepVisible->frameGeometry();
    const QScreen* screen = keepVisible->screen();
    const QRect area = screen ? screen->availableGeometry() : kept.adjusted(0, -height(), 0, height());
    // The cards' transparent shadow margins may overlap; the cards may not.
    const int margin = 5;
    const int x = qBound(area.left(), kept.left(), qMax(area.left(), area.right() + 1 - width()));
    if (kept.bottom() + 1 - margin + height() <= area.bottom() + 1)
        move(x, kept.bottom() + 1 - margin);
    else if (kept.top() + margin - height() >= area.top())
        move(x, kept.top() + margin - height());
}

void TipDialog::setDefaultAnswer(VNStyleButton* button)
{
    // Enter takes the default answer; Escape is QDialog's reject, which
    // closes the tip like its "No".
    ui->pushButton_Yes->setDefault(button == ui->pushButton_Yes);
    ui->pushButton_OK->setDefault(button == ui->pushButton_OK);
    m_defaultAnswer = button;
}

void TipDialog::showEvent(QShowEvent* event)
{
    VNStyleDialog::showEvent(event);
    // The answer buttons carry the focus, never an invisible one elsewhere.
    if (m_defaultAnswer && m_defaultAnswer->isVisible())
        m_defaultAnswer->setFocus(Qt::OtherFocusReason);
}

void TipDialog::slot_Close()
{
    close();
}

void TipDialog::slot_Exit()
{
    emit signal_ExitApp();
    close();
}

bool TipDialog::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == ui->pushButton_OK || watched == ui->pushButton_Yes)
        StyleHelpers::applyTextButtonHover(static_cast<QWidget*>(watched), event);
    return QDialog::eventFilter(watched, event);
}

void TipDialog::paintEvent(QPaintEvent* event)
{
    m_shadow.paint(this);
    QWidget::paintEvent(event);
}

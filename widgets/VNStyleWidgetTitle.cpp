#include "VNStyleWidgetTitle.h"

#include "VNStyleButton.h"

#include <QDebug>
#include <QHBoxLayout>
#include <QLabel>
#include <QPixmap>
#include <QSpacerItem>

VNStyleWidgetTitle::VNStyleWidgetTitle(QWidget* parent)
    : VNStyleWidget(parent)
{
    m_titleLabel = new QLabel(this);
    m_closeButton = new VNStyleButton(this);
    m_spacer = new QSpacerItem(217, 20, QSizePolicy::Expanding, QSizePolicy::Minimum);
    m_logoLabel = new QLabel(this);

    m_logoLabel->setFixedSize(21, 21);
    m_logoLabel->setScaledContents(true);
    m_closeButton->setFixedSize(18, 18);
    m_closeButton->setFlat(true);
    // Escape closes a dialog; a focusable close button would take Enter
    // away from the dialog's answer without showing it has the focus.
    m_closeButton->setFocusPolicy(Qt::NoFocus);
    m_titleLabel->setAttribute(Qt::WA_TranslucentBackground);
    m_logoLabel->setAttribute(Qt::WA_TranslucentBackground);

    m_layout = new QHBoxLayout(this);
    m_layout->setObjectName(QStringLiteral("horizontalLayout"));
    m_layout->setSpacing(6);
    m_layout->setContentsMargins(15, 0, 15, 0);
    m_layout->addWidget(m_logoLabel);
    m_layout->addWidget(m_titleLabel);
    m_layout->addItem(m_spacer);
    m_layout->addWidget(m_closeButton);

    const QString skin = m_style.skinDir() + QStringLiteral("/");
    m_titleBackground = skin + QStringLiteral("Label/win_title_bg.png");
    setBackgroundImage(m_titleBackground);
    m_logoPath = QStringLiteral(":/VNRSC/logo.png");
    m_logoLabel->setPixmap(QPixmap(m_logoPath));

    m_closeButton->setImages(skin + QStringLiteral("Button/win_close_icon_normal.png"),
                             skin + QStringLiteral("Button/win_icon_hover.png"),
                             skin + QStringLiteral("Button/win_close_icon_pressing.png"), QString());

    m_titleLabel->setFont(m_style.font(35));
    m_titleLabel->setStyleSheet(QStringLiteral("color: rgb(255, 255, 255);"));

    connect(m_closeButton, SIGNAL(clicked()), this, SLOT(slot_Close()));
    m_logoLabel->hide();
}

void VNStyleWidgetTitle::setTitleText(const QString& text)
{
    m_titleLabel->setText(text);
}

QString VNStyleWidgetTitle::titleText() const
{
    return m_titleLabel->text();
}

void VNStyleWidgetTitle::setEmitCloseSignal(bool on)
{
    m_emitCloseSignal = on;
}

void VNStyleWidgetTitle::slot_Close()
{
    if (m_emitCloseSignal) {
        emit signal_Close();
        qDebug() << "close";
        return;
    }
    slotClosePWidget();
}

#include "VNStyleButton.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPalette>
#include <QPixmap>

VNStyleButton::VNStyleButton(QWidget* parent)
    : QPushButton(parent)
{
    QPalette pal = palette();
    pal.setBrush(QPalette::ButtonText, QBrush(QColor(66, 66, 66), Qt::SolidPattern));
    setPalette(pal);
    // Screens switch the text colour on HoverEnter/HoverLeave; make sure those
    // events arrive whatever the widget style.
    setAttribute(Qt::WA_Hover);
    connect(this, SIGNAL(signalUpdate()), this, SLOT(update()));
}

void VNStyleButton::setImages(const QString& normal, const QString& hover, const QString& pressed,
                              const QString& disabled)
{
    m_images[Disabled] = disabled;
    setImages(normal, hover, pressed);
}

void VNStyleButton::setImages(const QString& normal, const QString& hover, const QString& pressed)
{
    m_images[Normal] = normal;
    m_images[Hover] = hover;
    m_images[Pressed] = pressed;
    m_state = Normal;
    update();
}

void VNStyleButton::setTextOption(const QTextOption& option)
{
    m_textOption = option;
    update();
}

void VNStyleButton::setImageRect(const QRect& rect)
{
    m_imageRect = rect;
    update();
}

void VNStyleButton::refresh()
{
    if (isEnabled())
        emit signalUpdate();
}

int VNStyleButton::paintedState() const
{
    if (!isEnabled() && !m_images[Disabled].isEmpty())
        return Disabled;
    return m_state;
}

QString VNStyleButton::currentImage() const
{
    return m_state == NoImages ? QString() : m_images[paintedState()];
}

void VNStyleButton::enterEvent(QEvent*)
{
    emit mouseEnter();
    if (m_state != NoImages) {
        m_state = Hover;
        refresh();
    }
}

void VNStyleButton::leaveEvent(QEvent*)
{
    emit mouseLeave();
    if (m_state != NoImages) {
        m_state = Normal;
        refresh();
    }
}

void VNStyleButton::mousePressEvent(QMouseEvent* event)
{
    if (m_state != NoImages && isEnabled() && event->button() == Qt::LeftButton) {
        m_state = Pressed;
        refresh();
    }
}

void VNStyleButton::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    if (m_state != NoImages) {
        m_state = Hover;
        refresh();
    }
    // Only where the button is let go counts, not where it was pressed.
    if (rect().contains(event->pos()))
        emit clicked(false);
}

void VNStyleButton::paintEvent(QPaintEvent* event)
{
    if (m_state == NoImages) {
        QPushButton::paintEvent(event);
        return;
    }

    QPainter painter(this);
    const QPixmap picture(m_images[paintedState()]);
    if (!picture.isNull()) {
        const QRect target = m_imageRect.width() == 0 ? rect() : m_imageRect;
        painter.drawPixmap(target, picture, picture.rect());
    }
    painter.drawText(QRectF(rect()), text(), m_textOption);
}

#include "VNStyleWidget.h"

#include "SkinStyle.h"

#include <QDebug>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QScreen>

VNStyleWidget::VNStyleWidget(QWidget* parent)
    : QWidget(parent)
{
    refreshDesktopSize();
}

void VNStyleWidget::refreshDesktopSize()
{
    // The primary screen's available area, as the drag limits have always used.
    const QScreen* screen = QGuiApplication::primaryScreen();
    const QRect area = screen ? screen->availableGeometry() : QRect();
    m_availableWidth = area.right() - area.left() + 1;
    m_availableHeight = area.bottom() - area.top() + 1;
}

void VNStyleWidget::setParentWidget(QWidget* target, QPoint targetOffset, bool movable)
{
    m_target = target;
    m_targetOffset = targetOffset;
    setAttribute(Qt::WA_MouseTracking, movable);
    m_movable = movable;
}

void VNStyleWidget::setBackgroundImage(const QString& path)
{
    m_backgroundPath = path;
}

void VNStyleWidget::slotClosePWidget()
{
    if (!m_target)
        return;
    qDebug() << "close";
    m_target->close();
}

std::optional<QPoint> VNStyleWidget::dragDestination(QPoint globalPos, QPoint targetOffset, QPoint pressPos,
                                                     QSize available)
{
    const QPoint to = globalPos - targetOffset - pressPos;
    // Limits are relative to the available size, not to its origin; they only
    // keep a grip of the window on screen and its top clear of the first rows.
    if (to.x() > -800 && to.x() <= available.width() - 200 && to.y() > 22
        && to.y() <= available.height() - 100)
        return to;
    return std::nullopt;
}

void VNStyleWidget::mousePressEvent(QMouseEvent* event)
{
    if (m_movable && event->button() == Qt::LeftButton) {
        m_pressed = true;
        m_pressPos = event->pos();
        event->accept();
        return;
    }
    event->ignore();
}

void VNStyleWidget::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_pressed || event->buttons() == Qt::NoButton) {
        event->ignore();
        return;
    }
    const auto to = dragDestination(event->globalPos(), m_targetOffset, m_pressPos,
                                    QSize(m_availableWidth, m_availableHeight));
    if (to && m_target)
        m_target->move(*to);
    event->accept();
}

void VNStyleWidget::mouseReleaseEvent(QMouseEvent* event)
{
    m_pressed = false;
    event->accept();
}

void VNStyleWidget::paintEvent(QPaintEvent*)
{
    // Loaded on every paint: the title pictures are tiny and a skin change on
    // disk shows up without a restart.
    QPainter painter(this);
    const QPixmap picture = SkinStyle::pixmap(m_backgroundPath, devicePixelRatioF());
    if (!picture.isNull())
        painter.drawPixmap(QRectF(rect()), picture, QRectF());
}

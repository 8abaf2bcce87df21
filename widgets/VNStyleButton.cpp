#include "VNStyleButton.h"

#include "SkinStyle.h"

#include <QCoreApplication>
#include <QCursor>
#include <QFocusEvent>
#include <QFontMetricsF>
#include <QHash>
#include <QImage>
#include <QHoverEvent>
#include <QMouseEvent>
#include <QPointer>
#include <QPainter>
#include <QPen>
#include <QPalette>
#include <QPixmap>

namespace {

// Remembers whether the person last pressed a key or a mouse button. Qt
// also moves focus "by Tab" on its own (a focused button hidden passes it
// on), and such focus must not show a ring.
struct InputWatcher : QObject
{
    bool keyboard = false;
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::KeyPress)
            keyboard = true;
        else if (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::TouchBegin)
            keyboard = false;
        return false;
    }
};

InputWatcher* inputWatcher()
{
    static InputWatcher* watcher = [] {
        auto* w = new InputWatcher;
        w->setParent(QCoreApplication::instance());
        if (QCoreApplication::instance())
            QCoreApplication::instance()->installEventFilter(w);
        return w;
    }();
    return watcher;
}

// The part of a picture that is not transparent, as fractions of its size:
// a wide picture may show a small icon at one end. Skin pictures are few and
// never change, so each is looked at once.
QRectF visiblePart(const QString& path, const QPixmap& picture)
{
    static QHash<QString, QRectF> known; // the GUI thread's only
    const auto found = known.constFind(path);
    if (found != known.constEnd())
        return *found;
    const QImage image = picture.toImage().convertToFormat(QImage::Format_ARGB32);
    int left = image.width(), right = -1, top = image.height(), bottom = -1;
    for (int y = 0; y < image.height(); ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(line[x]) < 48)
                continue;
            left = qMin(left, x);
            right = qMax(right, x);
            top = qMin(top, y);
            bottom = qMax(bottom, y);
        }
    }
    QRectF part(0, 0, 1, 1);
    if (right >= 0)
        part = QRectF(double(left) / image.width(), double(top) / image.height(),
                      double(right - left + 1) / image.width(), double(bottom - top + 1) / image.height());
    known.insert(path, part);
    return part;
}

} // namespace

VNStyleButton::VNStyleButton(QWidget* parent)
    : QPushButton(parent)
{
    inputWatcher();
    // Return presses the focused button on a page too, not only in dialogs
    // (where Qt makes every push button auto-default by itself).
    setAutoDefault(true);
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
    if (!rect().contains(event->pos()))
        return;
    QPointer<VNStyleButton> alive(this);
    emit clicked(false);
    // A click may open a modal chooser; when it returns the pointer is
    // usually elsewhere, and no leave event told this button so.
    if (alive && alive->m_state == Hover && !rect().contains(mapFromGlobal(QCursor::pos())))
        dropHover();
}

void VNStyleButton::dropHover()
{
    if (m_state == Hover || m_state == Pressed) {
        m_state = Normal;
        update();
    }
    setAttribute(Qt::WA_UnderMouse, false);
    QHoverEvent leave(QEvent::HoverLeave, QPointF(-1, -1), QPointF(-1, -1));
    QCoreApplication::sendEvent(this, &leave);
}

void VNStyleButton::hideEvent(QHideEvent* event)
{
    // A dialog closed (by Escape, Enter or its answer) under the pointer must
    // not show its button still hovered when it opens again.
    dropHover();
    QPushButton::hideEvent(event);
}

void VNStyleButton::focusInEvent(QFocusEvent* event)
{
    QPushButton::focusInEvent(event);
    update();
}

void VNStyleButton::focusOutEvent(QFocusEvent* event)
{
    QPushButton::focusOutEvent(event);
    update();
}

void VNStyleButton::paintEvent(QPaintEvent* event)
{
    if (m_state == NoImages) {
        QPushButton::paintEvent(event);
        return;
    }

    QPainter painter(this);
    const QString& path = m_images[paintedState()];
    const QPixmap picture = SkinStyle::pixmap(path, devicePixelRatioF());
    const QRect target = m_imageRect.width() == 0 ? rect() : m_imageRect;
    if (!picture.isNull())
        painter.drawPixmap(target, picture);
    painter.drawText(QRectF(rect()), text(), m_textOption);

    // The focus shows once the person works with the keys (Tab, Space,
    // Enter), as on any desktop; after a mouse press it stays out of sight.
    if (hasFocus() && inputWatcher()->keyboard) {
        // The classic dotted focus rectangle, dark dots on a white line, so
        // it shows on the white card and on the filled blue pictures alike.
        const QRect ring = focusRing(path, picture, target);
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(Qt::white, 1.0));
        painter.drawRect(ring);
        painter.setPen(QPen(QColor(0x48, 0x48, 0x48), 1.0, Qt::DotLine));
        painter.drawRect(ring);
    }
}

QRect VNStyleButton::focusRing(const QString& picturePath, const QPixmap& picture, const QRect& target) const
{
    QRectF shown;
    if (!picture.isNull()) {
        const QRectF part = visiblePart(picturePath, picture);
        shown = QRectF(target.x() + part.x() * target.width(), target.y() + part.y() * target.height(),
                       part.width() * target.width(), part.height() * target.height());
    }
    if (!text().isEmpty())
        shown |= QFontMetricsF(font()).boundingRect(QRectF(rect()), int(m_textOption.alignment()), text());
    // A filled button (or one with nothing to show) has the ring inside it.
    if (shown.isEmpty() || (shown.width() >= 0.9 * width() && shown.height() >= 0.9 * height()))
        return rect().adjusted(3, 3, -4, -4);
    return shown.toAlignedRect().adjusted(-3, -3, 2, 2) & rect().adjusted(0, 0, -1, -1);
}

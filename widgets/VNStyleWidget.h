#pragma once

#include <QPoint>
#include <QPointer>
#include <QSize>
#include <QString>
#include <QWidget>

#include <optional>

// A widget that paints a background picture and, once given a target window,
// drags that window around and closes it. Title bars are built on it.
class VNStyleWidget : public QWidget
{
    Q_OBJECT

public:
    explicit VNStyleWidget(QWidget* parent = nullptr);

    // target: the window to drag and close; targetOffset: where this widget
    // sits inside it (the shadow margin, (5, 5), for the program's windows).
    void setParentWidget(QWidget* target, QPoint targetOffset, bool movable);
    void setBackgroundImage(const QString& path);
    QString backgroundImage() const { return m_backgroundPath; }

    // Re-reads the screen size the drag limits are measured against. The size
    // is taken once at construction; nothing calls this on its own.
    void refreshDesktopSize();
    QSize availableSize() const { return QSize(m_availableWidth, m_availableHeight); }

    // Where the target's top-left goes when the mouse is at globalPos after a
    // press at pressPos, or nothing when that would push the window off
    // limits: left edge beyond -800, top under the first 23 pixels, or less
    // than 200 x 100 pixels left on the available area.
    static std::optional<QPoint> dragDestination(QPoint globalPos, QPoint targetOffset, QPoint pressPos,
                                                 QSize available);

public slots:
    void slotClosePWidget();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    bool m_movable = false;
    QPoint m_targetOffset;
    QPoint m_pressPos;
    bool m_pressed = false;
    // The target is normally our own window; QPointer keeps a target that dies
    // first from becoming a dangling pointer.
    QPointer<QWidget> m_target;
    QString m_backgroundPath;
    int m_availableWidth = 0;
    int m_availableHeight = 0;
};

#pragma once

#include <QPushButton>
#include <QRect>
#include <QString>
#include <QTextOption>

// The program's push button. Once given its pictures it paints itself from
// them (one per state) with its text centred on top, and keeps its own state
// instead of QAbstractButton's: clicked() comes from a left release inside the
// button, or from the keyboard (Space or Return on the focused button, Return
// on a dialog's default) as with any push button. Its focus is drawn as a
// dotted ring round what it shows (the visible part of its picture and its
// text) once the last input was a key press. Until then it looks like a
// plain push button.
class VNStyleButton : public QPushButton
{
    Q_OBJECT

public:
    enum State { NoImages = 0, Normal = 1, Hover = 2, Pressed = 3, Disabled = 4 };

    explicit VNStyleButton(QWidget* parent = nullptr);

    // Switches the button to the picture look; an empty disabled path means
    // "no disabled look": a disabled button then keeps its last picture.
    void setImages(const QString& normal, const QString& hover, const QString& pressed,
                   const QString& disabled);
    void setImages(const QString& normal, const QString& hover, const QString& pressed);
    void setTextOption(const QTextOption& option);
    void setImageRect(const QRect& rect);

    int state() const { return m_state; }
    // The picture paintEvent uses now: empty while the button has no pictures.
    QString currentImage() const;

    virtual void refresh();

signals:
    void signalUpdate();
    void mouseEnter();
    void mouseLeave();

protected:
    void enterEvent(QEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    int paintedState() const;
    // Where the focus ring goes, for the picture drawn into `target`.
    QRect focusRing(const QString& picturePath, const QPixmap& picture, const QRect& target) const;
    // Back to the normal look, also for the screens' text-colour filters:
    // a button hidden or covered under the pointer gets no leave event.
    void dropHover();

    int m_state = NoImages;
    QString m_images[5]; // indexed by State; slot 0 unused
    QRect m_imageRect;
    QTextOption m_textOption{Qt::AlignCenter};
};

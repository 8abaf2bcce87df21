#pragma once

#include "SkinStyle.h"
#include "VNStyleWidget.h"

class QHBoxLayout;
class QLabel;
class QSpacerItem;
class VNStyleButton;

// The blue title bar every dialog puts at its top: logo (hidden unless a
// screen shows it), title text and a close button. It drags its window.
class VNStyleWidgetTitle : public VNStyleWidget
{
    Q_OBJECT

public:
    explicit VNStyleWidgetTitle(QWidget* parent = nullptr);

    void setTitleText(const QString& text);
    QString titleText() const;
    // On: the close button only emits signal_Close() and leaves the window
    // open, so the window can ask first (the batch progress dialog does).
    void setEmitCloseSignal(bool on);
    bool emitsCloseSignal() const { return m_emitCloseSignal; }

    QLabel* logoLabel() const { return m_logoLabel; }
    QLabel* titleLabel() const { return m_titleLabel; }
    VNStyleButton* closeButton() const { return m_closeButton; }

signals:
    void signal_Close();

public slots:
    void slot_Close();

private:
    bool m_emitCloseSignal = false;
    QString m_titleBackground;
    QString m_logoPath;
    QLabel* m_logoLabel = nullptr;
    QSpacerItem* m_spacer = nullptr;
    SkinStyle m_style;
    QLabel* m_titleLabel = nullptr;
    VNStyleButton* m_closeButton = nullptr;
    QHBoxLayout* m_layout = nullptr;
};

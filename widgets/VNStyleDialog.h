#pragma once

#include "ShadowFrame.h"

#include <QDialog>

// Base of the program's dialogs: frameless, translucent, drawn as a white card
// with the kit's shadow. Subclasses place a VNStyleWidgetTitle at (5, 5).
//
// Every way to close the dialog is its title bar's close button: when that
// button asks first (VNStyleWidgetTitle::setEmitCloseSignal), Escape and the
// window manager's close (Alt+F4, a taskbar's menu) ask too, instead of
// hiding the dialog behind the question's back.
class VNStyleDialog : public QDialog
{
    Q_OBJECT

public:
    explicit VNStyleDialog(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    // The title bar, when its close button asks before closing.
    class VNStyleWidgetTitle* askingTitleBar() const;

private:
    ShadowFrame m_shadow;
};

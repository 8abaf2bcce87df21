#include "VNStyleDialog.h"

#include <QApplication>
#include <QGuiApplication>
#include <QWindow>

VNStyleDialog::VNStyleDialog(QWidget* parent)
    : QDialog(parent, Qt::WindowFlags())
{
    setWindowFlags(windowFlags() | Qt::FramelessWindowHint | Qt::WindowSystemMenuHint
                   | Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint);
    setAttribute(Qt::WA_TranslucentBackground);
}

void VNStyleDialog::paintEvent(QPaintEvent* event)
{
    m_shadow.paint(this);
    QWidget::paintEvent(event);
}

void VNStyleDialog::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    // A dialog shown a second time is not always handed the keyboard by the
    // window manager (it goes by the first showing's time); ask for it, so
    // Enter and Escape reach the dialog and not the window it blocks.
    activateWindow();
    // When the window system still counts this window as focused from its
    // first showing, no focus change arrives and Qt leaves the dialog
    // inactive, its keys going nowhere: make it the active window here.
    if (QGuiApplication::focusWindow() && QGuiApplication::focusWindow() == windowHandle()
        && QApplication::activeWindow() != this)
        QApplication::setActiveWindow(this);
}

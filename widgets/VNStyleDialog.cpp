#include "VNStyleDialog.h"

#include "VNStyleWidgetTitle.h"

#include <QApplication>
#include <QCloseEvent>
#include <QGuiApplication>
#include <QKeyEvent>
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

VNStyleWidgetTitle* VNStyleDialog::askingTitleBar() const
{
    auto* title = findChild<VNStyleWidgetTitle*>();
    return title && title->emitsCloseSignal() ? title : nullptr;
}

void VNStyleDialog::closeEvent(QCloseEvent* event)
{
    // Only the window system's close is spontaneous; the program's own
    // close() calls are decisions already taken and go through.
    VNStyleWidgetTitle* title = event->spontaneous() ? askingTitleBar() : nullptr;
    if (!title) {
        QDialog::closeEvent(event);
        return;
    }
    event->ignore();
    // Asked once the window system's event has returned, not from inside it.
    QMetaObject::invokeMethod(title, "slot_Close", Qt::QueuedConnection);
}

void VNStyleDialog::keyPressEvent(QKeyEvent* event)
{
    VNStyleWidgetTitle* title = event->key() == Qt::Key_Escape ? askingTitleBar() : nullptr;
    if (!title) {
        QDialog::keyPressEvent(event);
        return;
    }
    title->slot_Close();
}

#include "VNStyleDialog.h"

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

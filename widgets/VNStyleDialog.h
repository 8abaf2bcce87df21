#pragma once

#include "ShadowFrame.h"

#include <QDialog>

// Base of the program's dialogs: frameless, translucent, drawn as a white card
// with the kit's shadow. Subclasses place a VNStyleWidgetTitle at (5, 5).
class VNStyleDialog : public QDialog
{
    Q_OBJECT

public:
    explicit VNStyleDialog(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    ShadowFrame m_shadow;
};

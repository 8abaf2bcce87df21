#pragma once

#include "SkinStyle.h"

#include <QWidget>

#include <memory>

namespace Ui {
class AboutDlg;
}

// The body of the about box: logo, name and tag line, the product's facts
// (with the running program's file version) and the rights line.
class AboutDlg : public QWidget
{
    Q_OBJECT

public:
    explicit AboutDlg(QWidget* parent = nullptr);
    ~AboutDlg() override;

private:
    std::unique_ptr<Ui::AboutDlg> ui;
    SkinStyle m_style;
};

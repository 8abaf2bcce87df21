#pragma once

#include "SkinStyle.h"
#include "VNStyleDialog.h"

#include <memory>

namespace Ui {
class VNAbout;
}

// The about box the tools menu opens: the kit's title bar over an AboutDlg.
// Run modally and deleted by whoever opens it.
class VNAbout : public VNStyleDialog
{
    Q_OBJECT

public:
    explicit VNAbout(QWidget* parent = nullptr);
    ~VNAbout() override;

private:
    std::unique_ptr<Ui::VNAbout> ui;
    SkinStyle m_style;
};

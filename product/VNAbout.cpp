#include "VNAbout.h"
#include "ui_VNAbout.h"

VNAbout::VNAbout(QWidget* parent)
    : VNStyleDialog(parent)
    , ui(new Ui::VNAbout)
{
    ui->setupUi(this);
    ui->widget->setParentWidget(this, QPoint(5, 5), true);
    ui->widget->setFont(m_style.font(34));
    ui->widget->setTitleText(tr("About"));
}

VNAbout::~VNAbout() = default;

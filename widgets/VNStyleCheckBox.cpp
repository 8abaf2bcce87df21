#include "VNStyleCheckBox.h"

#include "ui_VNStyleCheckBox.h"

VNStyleCheckBox::VNStyleCheckBox(int index, QWidget* parent)
    : QWidget(parent)
    , ui(new Ui::VNStyleCheckBox)
    , m_index(index)
{
    ui->setupUi(this);
    // A focus stop per 14-pixel box could not show itself, and would make Tab
    // walk every row of a long table.
    ui->checkBox->setFocusPolicy(Qt::NoFocus);
    connect(ui->checkBox, SIGNAL(stateChanged(int)), this, SLOT(slot_StateChanged(int)));
    connect(ui->checkBox, SIGNAL(clicked()), this, SLOT(slot_Clicked()));
}

VNStyleCheckBox::~VNStyleCheckBox()
{
    delete ui;
}

void VNStyleCheckBox::setCheckBoxStyleSheet(const QString& styleSheet)
{
    ui->checkBox->setStyleSheet(styleSheet);
}

void VNStyleCheckBox::setCheckState(Qt::CheckState state)
{
    ui->checkBox->setCheckState(state);
}

Qt::CheckState VNStyleCheckBox::checkState() const
{
    return ui->checkBox->checkState();
}

void VNStyleCheckBox::click()
{
    ui->checkBox->click();
}

void VNStyleCheckBox::setTristateOff()
{
    ui->checkBox->setTristate(false);
}

void VNStyleCheckBox::slot_StateChanged(int state)
{
    emit signal_StateChanged(state, m_index);
}

void VNStyleCheckBox::slot_Clicked()
{
    emit signal_Clicked();
}

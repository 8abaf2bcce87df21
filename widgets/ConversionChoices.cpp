#include "ConversionChoices.h"
#include "ui_ConversionChoices.h"

#include "SkinStyle.h"

#include <QCheckBox>
#include <QIntValidator>
#include <QLineEdit>

ConversionChoices::ConversionChoices(QWidget* parent)
    : QWidget(parent)
    , ui(new Ui::ConversionChoices)
{
    ui->setupUi(this);
    const QString skin = SkinStyle().skinDir();
    styleCheckBox(ui->checkBox_Shrink, skin);
    styleCheckBox(ui->checkBox_KeepLocation, skin);
    ui->comboBox_MaxSize->setStyleSheet(QStringLiteral(
        "QComboBox { color:#484848; background:#ffffff; border:1px solid #dddddd; border-radius:4px; "
        "padding-left:6px; }"
        "QComboBox:disabled { color:#b8b8b8; }"
        "QComboBox:focus { border-color:#3598fe; }"));
    ui->comboBox_MaxSize->lineEdit()->setValidator(new QIntValidator(kSmallestSide, kLargestSide, this));
    ui->comboBox_MaxSize->setCurrentText(QString::number(m_lastSide));
    ui->comboBox_MaxSize->setEnabled(false);

    connect(ui->checkBox_Shrink, &QCheckBox::toggled, this, [this](bool on) {
        ui->comboBox_MaxSize->setEnabled(on);
        emitChanged();
    });
    connect(ui->checkBox_KeepLocation, &QCheckBox::toggled, this, &ConversionChoices::emitChanged);
    connect(ui->comboBox_MaxSize, &QComboBox::currentTextChanged, this, &ConversionChoices::emitChanged);
}

ConversionChoices::~ConversionChoices()
{
    delete ui;
}

void ConversionChoices::styleCheckBox(QCheckBox* box, const QString& skinDir)
{
    box->setStyleSheet(QStringLiteral(
        "QCheckBox { color:#484848; spacing:6px; }"
        "QCheckBox:disabled { color:#b8b8b8; }"
        "QCheckBox::indicator { width:14px; height:14px; }"
        "QCheckBox::indicator:unchecked { image:url(%1/CheckBox/checkbox_normal.png); }"
        "QCheckBox::indicator:checked { image:url(%1/CheckBox/checkbox_selected.png); }")
                           .arg(skinDir));
}

void ConversionChoices::setOptions(const ConversionOptions& options)
{
    const QSignalBlocker quietBox(ui->checkBox_Shrink);
    const QSignalBlocker quietSize(ui->comboBox_MaxSize);
    const QSignalBlocker quietLocation(ui->checkBox_KeepLocation);
    const bool shrink = options.maxLongSide > 0;
    if (shrink)
        m_lastSide = options.maxLongSide;
    ui->checkBox_Shrink->setChecked(shrink);
    ui->comboBox_MaxSize->setEnabled(shrink);
    ui->comboBox_MaxSize->setCurrentText(QString::number(m_lastSide));
    ui->checkBox_KeepLocation->setChecked(options.keepLocation);
}

ConversionOptions ConversionChoices::options() const
{
    ConversionOptions options;
    if (ui->checkBox_Shrink->isChecked())
        options.maxLongSide = m_lastSide;
    options.keepLocation = ui->checkBox_KeepLocation->isChecked();
    return options;
}

void ConversionChoices::setTextFont(const QFont& font)
{
    for (QWidget* w : {static_cast<QWidget*>(ui->label_PhotoSize), static_cast<QWidget*>(ui->checkBox_Shrink),
                       static_cast<QWidget*>(ui->comboBox_MaxSize), static_cast<QWidget*>(ui->label_Pixels),
                       static_cast<QWidget*>(ui->label_Location), static_cast<QWidget*>(ui->checkBox_KeepLocation)})
        w->setFont(font);
}

void ConversionChoices::setRowSpacing(int spacing)
{
    ui->verticalLayout->setSpacing(spacing);
}

void ConversionChoices::emitChanged()
{
    // A number still being typed (empty, or "20" on the way to "2048") keeps
    // the last whole size until it is one.
    bool ok = false;
    const int side = ui->comboBox_MaxSize->currentText().toInt(&ok);
    if (ok && side >= kSmallestSide && side <= kLargestSide)
        m_lastSide = side;
    emit optionsChanged(options());
}

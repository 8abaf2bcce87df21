#include "ConvertsionSet.h"
#include "ui_ConvertsionSet.h"
#include "StyleHelpers.h"
#include "PhotoFiles.h"

#include <QCheckBox>
#include <QEvent>
#include <QDir>
#include <QFileDialog>

namespace {

// The blanks in "border - radius" and "padding - left/right" are on purpose:
// those groove properties stay without effect, which is the look we ship.
const char* const kSliderStyle =
    "QSlider::groove:horizontal{ border: 0px solid #4A708B; background: #3598FE; height: 5px; "
    "border - radius: 2px; padding - left: -1px; padding - right:-1px; left: 13px; right: 13px; }"
    "QSlider::sub-page:horizontal{background: qlineargradient(x1 : 0, y1 : 0, x2 : 0, y2 : 1,"
    "stop : 0 #B1B1B1, stop:1 #c4c4c4);background: qlineargradient(x1 : 0, y1 : 0.2, x2 : 1, "
    "y2 : 1,stop : 0 #5DCCFF, stop: 1 #1874CD);border: 0px solid #4A708B;height: 10px;"
    "border-radius: 2px;}"
    "QSlider::add-page:horizontal{background: #D1D1D1; border: 0px solid #777; height: 10px; "
    "border-radius: 2px;}"
    "QSlider::handle:horizontal{background: qradialgradient(spread : pad, cx : 0.5, cy : 0.5, "
    "radius: 0.5, fx : 0.5, fy : 0.5,stop: 0.6 #ffffff, stop:0.778409 rgba(69,173,237,255)); "
    "width: 13px; height: 16px; margin-top: -4px; margin-bottom: -4px; margin-left: -4px; "
    "margin-right: -4px;border-radius: 5px;}";

} // namespace

ConvertsionSet::ConvertsionSet(QWidget* parent)
    : VNStyleDialog(parent)
    , ui(new Ui::ConvertsionSet)
{
    ui->setupUi(this);

    ui->widget_Title->setParentWidget(this, QPoint(5, 5), true);
    ui->widget_Title->setTitleText(tr("Conversion Settings"));

    const QFont regular = m_skin.font(34);
    for (QWidget* w : {static_cast<QWidget*>(ui->label_Format), static_cast<QWidget*>(ui->label_Jpg),
                       static_cast<QWidget*>(ui->label_PohotQuality),
                       static_cast<QWidget*>(ui->label_QualityVakue),
                       static_cast<QWidget*>(ui->label_SavePath),
                       static_cast<QWidget*>(ui->label_SaveFolder),
                       static_cast<QWidget*>(ui->pushButton_OpenFolder),
                       static_cast<QWidget*>(ui->pushButton_Convert),
                       static_cast<QWidget*>(ui->checkBox_BesidePhotos)})
        w->setFont(regular);
    ui->widget_Choices->setTextFont(regular);
    ui->widget_Choices->setRowSpacing(ui->verticalLayout_3->spacing());
    ConversionChoices::styleCheckBox(ui->checkBox_BesidePhotos, m_skin.skinDir());

    const QString skin = m_skin.skinDir();
    ui->pushButton_OpenFolder->setImages(skin + "/Button/button100_normal.png",
                                         skin + "/Button/button100_hover.png",
                                         skin + "/Button/button100_pressing.png",
                                         skin + "/Button/button100_disable.png");
    ui->pushButton_Convert->setImages(skin + "/Button/button100_2_normal.png",
                                      skin + "/Button/button100_2_hover.png",
                                      skin + "/Button/button100_2_pressing.png");

    ui->Slider->setStyleSheet(QString::fromLatin1(kSliderStyle));
    StyleHelpers::showSliderFocus(ui->Slider);

    ui->pushButton_OpenFolder->installEventFilter(this);

    connect(ui->pushButton_OpenFolder, SIGNAL(clicked()), this, SLOT(slot_OpenFolder()));
    connect(ui->pushButton_Convert, SIGNAL(clicked()), this, SLOT(slot_Convert()));
    // Return anywhere but on Select Folder starts the run, never the chooser.
    ui->pushButton_Convert->setDefault(true);
    connect(ui->Slider, SIGNAL(valueChanged(int)), this, SLOT(slot_setQualityValue(int)));
    connect(ui->widget_Choices, &ConversionChoices::optionsChanged, this, &ConvertsionSet::signal_SetOptions);
    connect(ui->checkBox_BesidePhotos, &QCheckBox::toggled, this, [this](bool beside) {
        showBesidePhotos(beside);
        emit signal_BesidePhotos(beside);
    });
}

ConvertsionSet::~ConvertsionSet()
{
    delete ui;
}

void ConvertsionSet::showSaveFolder(const QString& folder)
{
    m_saveFolder = folder;
    showBesidePhotos(ui->checkBox_BesidePhotos->isChecked());
}

void ConvertsionSet::showChoices(int quality, const ConversionOptions& options, bool besidePhotos)
{
    {
        const QSignalBlocker quiet(ui->Slider);
        ui->Slider->setValue(quality);
    }
    ui->label_QualityVakue->setText(QString::number(quality) + QLatin1Char('%'));
    ui->widget_Choices->setOptions(options);
    {
        const QSignalBlocker quiet(ui->checkBox_BesidePhotos);
        ui->checkBox_BesidePhotos->setChecked(besidePhotos);
    }
    showBesidePhotos(besidePhotos);
}

void ConvertsionSet::showBesidePhotos(bool besidePhotos)
{
    // Beside the photos there is no folder to pick.
    ui->pushButton_OpenFolder->setEnabled(!besidePhotos);
    const QString shown = besidePhotos ? tr("Each JPEG goes into the folder of its photo.")
                                       : QDir::toNativeSeparators(m_saveFolder);
    ui->label_SaveFolder->setText(
        ui->label_SaveFolder->fontMetrics().elidedText(shown, Qt::ElideMiddle, 410));
    ui->label_SaveFolder->setToolTip(shown);
}

QString ConvertsionSet::chooseFolder()
{
    return QFileDialog::getExistingDirectory(this, tr("Save Path"), PhotoFiles::startFolder(),
                                             QFileDialog::ShowDirsOnly
                                                 | QFileDialog::DontResolveSymlinks);
}

void ConvertsionSet::slot_OpenFolder()
{
    const QString folder = chooseFolder();
    if (!folder.isEmpty())
        emit signal_SendSavePath(folder);
}

void ConvertsionSet::slot_Convert()
{
    emit signal_Convert();
}

void ConvertsionSet::slot_setQualityValue(int nValue)
{
    ui->label_QualityVakue->setText(QString::number(nValue) + QLatin1Char('%'));
    emit signal_SetConvertQuality(nValue);
}

bool ConvertsionSet::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == ui->pushButton_OpenFolder)
        StyleHelpers::applyTextButtonHover(static_cast<QWidget*>(watched), event);
    return QDialog::eventFilter(watched, event);
}

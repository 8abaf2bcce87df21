#include "PhotoInfo.h"
#include "ui_PhotoInfo.h"

#include <QPoint>

PhotoInfo::PhotoInfo(QWidget* parent)
    : VNStyleDialog(parent)
    , ui(new Ui::PhotoInfo)
{
    ui->setupUi(this);

    ui->widget_Title->setParentWidget(this, QPoint(5, 5), true);
    ui->widget_Title->setTitleText(tr("Photo Info"));

    const QFont regular14 = m_skin.font(0);
    for (QWidget* w : {static_cast<QWidget*>(ui->label_Name), static_cast<QWidget*>(ui->label_NameValue),
                       static_cast<QWidget*>(ui->label_CreateData),
                       static_cast<QWidget*>(ui->label_CreateDateValue),
                       static_cast<QWidget*>(ui->label_FileSize),
                       static_cast<QWidget*>(ui->label_FileSizeValue),
                       static_cast<QWidget*>(ui->label_Resolution),
                       static_cast<QWidget*>(ui->label_ResolutionValue),
                       static_cast<QWidget*>(ui->pushButton_Ok)})
        w->setFont(regular14);

    const QString skinDir = m_skin.skinDir();
    ui->pushButton_Ok->setImages(skinDir + "/Button/button100_2_normal.png",
                                 skinDir + "/Button/button100_2_hover.png",
                                 skinDir + "/Button/button100_2_pressing.png", QString());

    connect(ui->pushButton_Ok, SIGNAL(clicked()), this, SLOT(slot_Close()));
}

PhotoInfo::~PhotoInfo()
{
    delete ui;
}

void PhotoInfo::setName(const QString& name)
{
    m_name = name;
    ui->label_NameValue->setText(name);
}

void PhotoInfo::setCreatedDate(const QString& createdDate)
{
    m_createdDate = createdDate;
    ui->label_CreateDateValue->setText(createdDate);
}

void PhotoInfo::setFileSize(const QString& fileSize)
{
    m_fileSize = fileSize;
    ui->label_FileSizeValue->setText(fileSize);
}

void PhotoInfo::setResolution(const QString& resolution)
{
    m_resolution = resolution;
    ui->label_ResolutionValue->setText(resolution);
}

void PhotoInfo::slot_Close()
{
    close();
}

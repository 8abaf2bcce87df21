#pragma once

#include <QString>

#include "SkinStyle.h"
#include "VNStyleDialog.h"

namespace Ui {
class PhotoInfo;
}

// Lists name, created date, file size and resolution of the photo on the
// preview page. The main window keeps one and refills it before every show,
// so each setter replaces what the previous photo left.
class PhotoInfo : public VNStyleDialog
{
    Q_OBJECT

public:
    explicit PhotoInfo(QWidget* parent = nullptr);
    ~PhotoInfo() override;

    void setName(const QString& name);
    void setCreatedDate(const QString& createdDate);
    void setFileSize(const QString& fileSize);
    void setResolution(const QString& resolution);

    QString name() const { return m_name; }
    QString createdDate() const { return m_createdDate; }
    QString fileSize() const { return m_fileSize; }
    QString resolution() const { return m_resolution; }

public slots:
    void slot_Close();

private:
    Ui::PhotoInfo* ui;
    SkinStyle m_skin;
    QString m_name;
    QString m_createdDate;
    QString m_fileSize;
    QString m_resolution;
};

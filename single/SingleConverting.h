#pragma once

#include <QDialog>

#include "ShadowFrame.h"
#include "SkinStyle.h"

namespace Ui {
class SingleConverting;
}

// Tells the user that the photo was written and offers to open its folder.
// The preview page opens it only after a successful save, so it always
// starts in its finished state.
class SingleConverting : public QDialog
{
    Q_OBJECT

public:
    explicit SingleConverting(QWidget* parent = nullptr);
    ~SingleConverting() override;

    // Names the JPEG written, under the success text.
    void setSavedPath(const QString& path);

signals:
    void signal_OpenFolder();

public slots:
    void slot_SetProgressValue(int nValue);
    void slot_ConvertSuccess();
    void slot_Close();
    void slot_OpenFolder();

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    Ui::SingleConverting* ui;
    SkinStyle m_skin;
    ShadowFrame m_frame;
};

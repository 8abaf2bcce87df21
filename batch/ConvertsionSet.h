#pragma once

#include "SkinStyle.h"
#include "VNStyleDialog.h"

namespace Ui {
class ConvertsionSet;
}

// The settings shown before a batch run: JPEG quality and target folder.
// It keeps nothing itself; every choice leaves through a signal at once and
// the batch page holds the values.
class ConvertsionSet : public VNStyleDialog
{
    Q_OBJECT

public:
    explicit ConvertsionSet(QWidget* parent);
    ~ConvertsionSet() override;

    // Shows where the JPEGs will go (the chosen folder with its Vantora
    // sub-folder).
    void showSaveFolder(const QString& folder);

signals:
    void signal_SendSavePath(QString strPath);
    void signal_SetConvertQuality(int nValue);
    void signal_Convert();

public slots:
    void slot_OpenFolder();
    void slot_Convert();
    void slot_setQualityValue(int nValue);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

    // The folder chooser; empty when the user cancelled. Tests replace it so
    // they need no real file dialog.
    virtual QString chooseFolder();

private:
    Ui::ConvertsionSet* ui;
    SkinStyle m_skin;
};

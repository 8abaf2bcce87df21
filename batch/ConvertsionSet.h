#pragma once

#include "ConversionOptions.h"
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
    // Shows the choices in force (remembered from before) without emitting.
    void showChoices(int quality, const ConversionOptions& options, bool besidePhotos);

signals:
    void signal_SendSavePath(QString strPath);
    void signal_SetConvertQuality(int nValue);
    void signal_Convert();
    void signal_SetOptions(const ConversionOptions& options);
    // Each JPEG beside its photo (true) or into the chosen folder.
    void signal_BesidePhotos(bool besidePhotos);

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
    void showBesidePhotos(bool besidePhotos);

    Ui::ConvertsionSet* ui;
    QString m_saveFolder;
    SkinStyle m_skin;
};

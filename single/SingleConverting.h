#pragma once

#include "SkinStyle.h"
#include "VNStyleDialog.h"

namespace Ui {
class SingleConverting;
}

// The single photo's conversion, from start to end: while it works a moving
// bar says so and the right button cancels; then it tells that the photo
// was written (offering its folder) or why it was not.
//
// Every way to close it while it works (the button, the title bar, Escape,
// the window manager) is a cancel.
class SingleConverting : public VNStyleDialog
{
    Q_OBJECT

public:
    explicit SingleConverting(QWidget* parent = nullptr);
    ~SingleConverting() override;

    // Shows that `fileName` is being converted.
    void setWorking(const QString& fileName);
    bool isWorking() const { return m_working; }
    // Names the JPEG written, under the success text.
    void setSavedPath(const QString& path);
    // The conversion ended without a JPEG; `text` says why.
    void setFailed(const QString& text);

signals:
    void signal_OpenFolder();
    // Closed while working: the page drops the conversion.
    void signal_CancelConvert();

public slots:
    void slot_SetProgressValue(int nValue);
    void slot_ConvertSuccess();
    void slot_Close();
    void slot_OpenFolder();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showEnded(const QString& text, bool success);

    Ui::SingleConverting* ui;
    SkinStyle m_skin;
    bool m_working = false;
};

#pragma once

#include "ShadowFrame.h"
#include "SkinStyle.h"
#include "VNStyleDialog.h"

class VNStyleButton;

namespace Ui {
class TipDialog;
}

// The program's confirmation and result box. Configure it with exactly one
// of the set...Tip() calls right after construction: the button wiring they
// make is never undone, so a dialog object serves one purpose in its life.
class TipDialog : public VNStyleDialog
{
    Q_OBJECT

public:
    explicit TipDialog(QWidget* parent = nullptr);
    ~TipDialog() override;

    // "Are you sure to cancel the file conversion?": Yes emits signal_CancelConver().
    void setCancelConvertTip();
    // "Are you sure to trash all the files here?": Yes emits signal_ClearTable().
    void setClearTableTip();
    // "Conversion Cancelled!" with the count: "Open Folder" emits signal_OpenFolder().
    void setConvertCancelledTip();
    // The count shown under "Conversion Cancelled!"; the right button becomes "OK".
    void setConvertedCount(int count);
    // A smaller grey line under the texts (where the files went, what failed);
    // long texts are shortened in the middle, the whole text is the tooltip.
    void setDetailText(const QString& text);
    // "Are you sure to quit the program?": Yes emits signal_ExitApp() and closes.
    void setQuitTip();
    // Leaving a list of `count` photos: Yes accepts the dialog, No (and any
    // other close) rejects it.
    void setLeaveListTip(int count);

    // Puts the dialog below `keepVisible` (above it when the screen has no
    // room below), so the window it asks about stays in sight. Call it
    // before running the dialog.
    void placeClearOf(const QWidget* keepVisible);

    int convertedCount() const { return m_convertedCount; }

signals:
    void signal_CancelConver();
    void signal_ClearTable();
    void signal_OpenFolder();
    void signal_ExitApp();

public slots:
    void slot_Close();
    void slot_Exit();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void showPicture(const QString& skinPath);
    // The common part of the yes-or-no questions: picture, question, and
    // "No" closing the dialog.
    void askYesNo(const QString& question);
    void setDefaultAnswer(VNStyleButton* button);

    Ui::TipDialog* ui;
    ShadowFrame m_shadow;
    SkinStyle m_style;
    int m_convertedCount = 0;
    class QLabel* m_detail = nullptr;
    VNStyleButton* m_defaultAnswer = nullptr;
};

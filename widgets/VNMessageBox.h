#pragma once

#include "SkinStyle.h"
#include "VNStyleDialog.h"

#include <functional>

namespace Ui {
class VNMessageBox;
}

// A message with up to four buttons in the kit's look. The button flags and
// the result codes are the same numbers; a box closed by its title bar
// reports 0.
class VNMessageBox : public VNStyleDialog
{
    Q_OBJECT

public:
    enum Button { Yes = 1, No = 2, Ok = 4, Cancel = 8 };

    VNMessageBox(const QString& text, const QString& title, int buttons, QWidget* parent = nullptr);
    ~VNMessageBox() override;

    // Which button closed the box (Button value), 0 when none did.
    int result() const { return m_result; }
    void setButtonTexts(const QString& yes, const QString& no, const QString& ok, const QString& cancel);
    // A smaller 105 x 21 OK button with its own pictures.
    void useSmallOkButton();

    static QString defaultTitle();

    // Shows `text` with an OK button over `window` once the event in hand
    // has returned (a drop: the file manager waits for it to end). Nothing
    // when the text is empty or the window is gone by then. `run` runs the
    // box (a page's seam for tests); exec() when not given.
    static void tellLater(QWidget* window, const QString& text, std::function<int(QDialog*)> run = {});

public slots:
    void slotClose_yes();
    void slotClose_no();
    void slotClose_ok();
    void slotClose_cancel();

private:
    void finish(int result);

    Ui::VNMessageBox* ui;
    SkinStyle m_style;
    QString m_title;
    QString m_text;
    int m_buttons;
    int m_result = 0;
};

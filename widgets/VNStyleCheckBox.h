#pragma once

#include <QWidget>

namespace Ui {
class VNStyleCheckBox;
}

// One centred check box that reports its changes together with the number its
// owner gave it (a table row), so one slot can serve every row and the header.
// It takes no keyboard focus: the table it sits in does (see HeicFileTable),
// and uses click() for the keyboard's tick.
class VNStyleCheckBox : public QWidget
{
    Q_OBJECT

public:
    explicit VNStyleCheckBox(int index, QWidget* parent = nullptr);
    ~VNStyleCheckBox() override;

    int index() const { return m_index; }
    void setCheckBoxStyleSheet(const QString& styleSheet);
    // Fires signal_StateChanged too, as a user tick does: owners that set
    // states in answer to that signal must guard against feedback.
    void setCheckState(Qt::CheckState state);
    Qt::CheckState checkState() const;
    void setTristateOff();
    // A tick or untick as a user's click makes it (both signals fire).
    void click();

signals:
    void signal_StateChanged(int nState, int nIndex);
    void signal_Clicked();

public slots:
    void slot_StateChanged(int state);
    void slot_Clicked();

private:
    Ui::VNStyleCheckBox* ui;
    int m_index;
};

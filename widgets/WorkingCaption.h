#pragma once

#include <QWidget>

class QLabel;
class QProgressBar;

// A line of text over a moving bar: how the kit says that work is going on
// when there is no count to show (a decode of unknown length). It lays
// itself over the bottom of its parent, on a white veil so it reads over a
// picture, and is hidden until showWorking(text) is called.
class WorkingCaption : public QWidget
{
    Q_OBJECT

public:
    explicit WorkingCaption(QWidget* parent);

    void showWorking(const QString& text);
    QString text() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void placeAtBottom();

    QLabel* m_text;
    QProgressBar* m_bar;
};

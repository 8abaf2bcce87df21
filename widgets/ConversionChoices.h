#pragma once

#include "ConversionOptions.h"

#include <QWidget>

class QCheckBox;

namespace Ui {
class ConversionChoices;
}

// The two rows of options a conversion offers besides quality and folder,
// in the kit's look: "Photo Size:" (off, or a longest side picked from 4096,
// 2048, 1024 or typed) and "Location:" (kept unless unticked). The batch
// settings and the preview page both place it among their own rows.
class ConversionChoices : public QWidget
{
    Q_OBJECT

public:
    // Sizes a person may type; below the smallest no photo is worth keeping.
    static constexpr int kSmallestSide = 16;
    static constexpr int kLargestSide = 65535;

    explicit ConversionChoices(QWidget* parent = nullptr);
    ~ConversionChoices() override;

    // Shows these options without emitting optionsChanged.
    void setOptions(const ConversionOptions& options);
    ConversionOptions options() const;

    // The host's text font and the gap between the two rows, so they read
    // like the host's own rows.
    void setTextFont(const QFont& font);
    void setRowSpacing(int spacing);

    // The kit's tick box look, for other text boxes of a screen.
    static void styleCheckBox(QCheckBox* box, const QString& skinDir);

signals:
    void optionsChanged(const ConversionOptions& options);

private:
    void emitChanged();

    Ui::ConversionChoices* ui;
    int m_lastSide = 2048;
};

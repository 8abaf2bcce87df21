#pragma once

#include <QString>

class QEvent;
class QLabel;
class QLineEdit;
class QProgressBar;
class QScrollBar;
class QSlider;
class QTableView;
class QWidget;

// Ready-made looks of the kit for widgets that are not kit classes. Each call
// replaces the widget's whole style sheet.
namespace StyleHelpers {

// 6 px vertical / 30 px horizontal grey scroll bars on any scroll area.
void setThinScrollBar(QWidget* widget);
// A 4 px grey scroll bar.
void setVeryThinScrollBar(QScrollBar* scrollBar);
// A light rule along the bottom (or top) edge only.
void setBottomRule(QWidget* widget);
void setTopRule(QWidget* widget);
// Flat blue bar without a text.
void setProgressBarStyle(QProgressBar* bar);
// Borderless line edit with grey text.
void setQuietLineEdit(QLineEdit* edit);
// White table with light grid and light blue selection.
void setPlainTable(QTableView* table);
// Header-and-rows list look: fixed 40 px header, row selection, no editing.
void setListTable(QTableView* table);
// A solid border; colour in hex digits without '#', e.g. "3598fe".
void setBorder(QWidget* widget, const QString& colourHex, int width);
// The text buttons' hover rule: white text while the pointer is over the
// button (its picture turns blue), the accent colour when it leaves. Call it
// from an event filter; other events leave the button as it is.
void applyTextButtonHover(QWidget* button, const QEvent* event);
// Adds to a horizontal slider's style sheet a dotted ring round it
// while it has the keyboard focus (the arrow keys then move it).
void showSliderFocus(QSlider* slider);
// Shows text cut with "..." to fit width, the full text as tool tip.
void setElidedText(QLabel* label, const QString& text, int width);

} // namespace StyleHelpers

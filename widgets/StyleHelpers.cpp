#include "StyleHelpers.h"

#include <QEvent>

#include <QAbstractItemView>
#include <QFont>
#include <QFontMetrics>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPalette>
#include <QProgressBar>
#include <QScrollBar>
#include <QSlider>
#include <QTableView>

namespace {

const char* const kHandleRules =
    "QScrollBar::handle{background:#d8d8d8; border:2px solid transparent; border-radius:0px; min-height:40px;}"
    "QScrollBar::handle:hover{background:#c4c4c4;}"
    "QScrollBar::sub-line{background:transparent;}"
    "QScrollBar::add-line{background:transparent;}";

} // namespace

namespace StyleHelpers {

void setThinScrollBar(QWidget* widget)
{
    widget->setStyleSheet(QStringLiteral("QScrollBar{background:transparent; width: 6px; min-width:6;min-height:10;}")
                          + QLatin1String(kHandleRules)
                          + QStringLiteral("QScrollBar{background:transparent; height: 30px; min-width:6;min-height:30;}")
                          + QLatin1String(kHandleRules));
}

void setVeryThinScrollBar(QScrollBar* scrollBar)
{
    scrollBar->setStyleSheet(QStringLiteral("QScrollBar{background:transparent; width: 4px; min-width:4;min-height:30}")
                             + QLatin1String(kHandleRules));
}

void setBottomRule(QWidget* widget)
{
    widget->setStyleSheet(QStringLiteral(
        "border-left:0px; border-right:0px; border-top:0px; border-bottom:1px solid rgb(229,229,229);"));
}

void setTopRule(QWidget* widget)
{
    widget->setStyleSheet(QStringLiteral(
        "border-left: 0px;border-right: 0px;border-top: 1px solid #e5e5e5;border-bottom: 0px;"));
}

void setProgressBarStyle(QProgressBar* bar)
{
    bar->setStyleSheet(QStringLiteral(
        "QProgressBar {color: transparent; border: 1px solid #2f78fa; border-radius: 0px; background-color: #FFFFFF;}"
        "QProgressBar::chunk {background-color: #2f78fa; width: 20px;}"
        "QProgressBar {border: 1px solid #2f78fa; border-radius: 0px; text-align: none;}"));
}

void setQuietLineEdit(QLineEdit* edit)
{
    QPalette pal = edit->palette();
    pal.setColor(QPalette::All, QPalette::Text, QColor(0x99, 0x99, 0x99));
    edit->setPalette(pal);
    edit->setStyleSheet(QStringLiteral("font-size:12px"));
    edit->setStyleSheet(QStringLiteral("QLineEdit{border:0px;}"));
}

void setPlainTable(QTableView* table)
{
    table->horizontalHeader()->setStyleSheet(QStringLiteral(
        "QHeaderView::section {background-color:#ffffff;border-left:0px;border-right:1px solid #e5e5e5;"
        "border-top:0px;border-bottom:1px solid #e5e5e5;}"));
    table->setStyleSheet(QStringLiteral(
        "color:rgb(102,102,102);selection-color:rgb(102,102,102);background-color:rgb(255,255,255);"
        "selection-background-color:rgb(229,243,255);gridline-color:rgb(229,229,229);border:0px;"));
}

void setListTable(QTableView* table)
{
    table->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    table->verticalHeader()->setHidden(true);
    table->setFrameShape(QFrame::NoFrame);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);

    QHeaderView* header = table->horizontalHeader();
    header->setHighlightSections(false);
    header->setSectionResizeMode(QHeaderView::Fixed);
    header->setSectionsClickable(false);
    header->setFixedHeight(40);
    header->setStyleSheet(QStringLiteral("QHeaderView::section {background-color:#f7f7f7;border:1px solid #e5e5e5;}"));
    QFont font = header->font();
    font.setWeight(QFont::Normal);
    font.setPixelSize(12);
    header->setFont(font);

    table->setStyleSheet(QStringLiteral(
        "selection-background-color:#e5e5e5;selection-color:#666666;background-color:#ffffff;color:#666666;"));
    setVeryThinScrollBar(table->verticalScrollBar());
}

void setBorder(QWidget* widget, const QString& colourHex, int width)
{
    widget->setStyleSheet(QStringLiteral("border:%1px solid #%2;").arg(width).arg(colourHex));
}

void setElidedText(QLabel* label, const QString& text, int width)
{
    const QFontMetrics metrics{QFont()};
    label->setText(metrics.elidedText(text, Qt::ElideRight, width));
    label->setToolTip(text);
}

void showSliderFocus(QSlider* slider)
{
    slider->setStyleSheet(slider->styleSheet()
                          + QStringLiteral("QSlider{border: 1px solid transparent; padding: 0px 2px;}"
                                           "QSlider:focus{border: 1px dotted #1874CD;}"));
}

void applyTextButtonHover(QWidget* button, const QEvent* event)
{
    if (event->type() == QEvent::HoverEnter)
        button->setStyleSheet(QStringLiteral("color:#ffffff"));
    else if (event->type() == QEvent::HoverLeave)
        button->setStyleSheet(QStringLiteral("color:#3598fe"));
}

} // namespace StyleHelpers

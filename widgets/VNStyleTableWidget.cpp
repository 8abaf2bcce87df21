#include "VNStyleTableWidget.h"

#include "NoFocusDelegate.h"

#include <QHeaderView>
#include <QScrollBar>

namespace {

const char* const kScrollBarStyle =
    "QScrollBar{background:transparent; width: 10px; min-width:10; min-height:10}"
    "QScrollBar::handle{background:lightgray; border:2px solid transparent; border-radius:5px;}"
    "QScrollBar::handle:hover{background:gray;}"
    "QScrollBar::sub-line{background:transparent;}"
    "QScrollBar::add-line{background:transparent;}"
    "QScrollBar{background:transparent; height:10px; min-width:10; min-height:10}"
    "QScrollBar::handle{background:lightgray; border:2px solid transparent; border-radius:5px;}"
    "QScrollBar::handle:hover{background:gray;}"
    "QScrollBar::sub-line{background:transparent;}"
    "QScrollBar::add-line{background:transparent;}";

} // namespace

VNStyleTableWidget::VNStyleTableWidget(QWidget* parent)
    : QTableWidget(parent)
{
    QHeaderView* header = horizontalHeader();
    header->setFont(m_style.font(31));
    // Each sheet replaces the one before; the last one is the look.
    header->setStyleSheet(QStringLiteral("color: rgb(97, 108, 114)"));
    header->setStyleSheet(QStringLiteral(
        "QHeaderView::section {background-color: transparent;border: 1px solid #eeeeee;"
        "border-width: 1px 0.5px 1px 0.5px;}"));
    header->setStyleSheet(QStringLiteral(
        "QHeaderView::section {background-color: transparent;color: rgb(102, 102, 102);"
        "selection-color: #616c72;border: 1px solid #eeeeee;border-width: 1px 1px 1px 1px;"
        "border-color: #eeeeee;}"));
    header->setMinimumHeight(40);
    header->setStretchLastSection(true);

    horizontalScrollBar()->setStyleSheet(QLatin1String(kScrollBarStyle));
    verticalScrollBar()->setStyleSheet(QLatin1String(kScrollBarStyle));

    setStyleSheet(QStringLiteral(
        "color: rgb(102, 102, 102);selection-color: rgb(102, 102, 102);"
        "selection-background-color: rgb(207, 232, 250);gridline-color: rgb(238, 238, 238);"
        "border-color: rgb(238, 238, 238);border: 0px solid #eeeeee;"));

    setItemDelegate(new NoFocusDelegate(this));

    verticalHeader()->setHidden(true);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    header->setSectionsClickable(false);

    setFont(m_style.font(34));
}

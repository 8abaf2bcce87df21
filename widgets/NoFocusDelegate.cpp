#include "NoFocusDelegate.h"

#include <QAbstractItemView>
#include <QPainter>

NoFocusDelegate::NoFocusDelegate(QObject* parent)
    : QStyledItemDelegate(parent)
{
}

void NoFocusDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const
{
    QStyleOptionViewItem plain(option);
    plain.state &= ~QStyle::State_HasFocus;
    QStyledItemDelegate::paint(painter, plain, index);

    const auto* view = qobject_cast<const QAbstractItemView*>(option.widget);
    if (!view || !view->hasFocus() || index.row() != view->currentIndex().row())
        return;
    // This cell's share of the row's frame: top and bottom, and the outer
    // ends on the first and last columns.
    const QRect cell = option.rect.adjusted(0, 1, -1, -2);
    painter->save();
    painter->setPen(QPen(QColor(0x18, 0x74, 0xcd), 1.0, Qt::DotLine));
    painter->drawLine(cell.topLeft(), cell.topRight());
    painter->drawLine(cell.bottomLeft(), cell.bottomRight());
    if (index.column() == 0)
        painter->drawLine(cell.topLeft(), cell.bottomLeft());
    if (index.column() == index.model()->columnCount(index.parent()) - 1)
        painter->drawLine(cell.topRight(), cell.bottomRight());
    painter->restore();
}

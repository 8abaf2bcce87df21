#include "NoFocusDelegate.h"

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
}

#pragma once

#include <QStyledItemDelegate>

// Paints table cells without the dotted focus rectangle round the current cell.
class NoFocusDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit NoFocusDelegate(QObject* parent = nullptr);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
};

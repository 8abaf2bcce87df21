#pragma once

#include <QStyledItemDelegate>

// Paints table cells without the dotted focus rectangle round the current
// cell. While the table has the keyboard, the current row gets one dotted
// frame round all its cells instead: a table that selects whole rows is
// worked a row at a time.
class NoFocusDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit NoFocusDelegate(QObject* parent = nullptr);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
};

#pragma once

#include "SkinStyle.h"

#include <QTableWidget>

// The kit's table: light header and grid, thin scroll bars, whole-row single
// selection, no editing, no focus frame, no sorting by header click.
class VNStyleTableWidget : public QTableWidget
{
    Q_OBJECT

public:
    explicit VNStyleTableWidget(QWidget* parent = nullptr);

private:
    SkinStyle m_style;
};

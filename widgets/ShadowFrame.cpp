#include "ShadowFrame.h"

#include "Compositing.h"

#include <QColor>
#include <QPainter>
#include <QPainterPath>
#include <QWidget>
#include <cmath>

int ShadowFrame::outlineAlpha(int k)
{
    return static_cast<int>((std::sqrt(5.0) - std::sqrt(static_cast<double>(k))) * 50.0);
}

void ShadowFrame::paint(QWidget* widget) const
{
    const int w = widget->width();
    const int h = widget->height();

    QPainterPath card;
    card.setFillRule(Qt::WindingFill);
    card.addRoundedRect(QRectF(5, 5, w - 10, h - 10), 0.0, 0.0, Qt::AbsoluteSize);

    QPainter painter(widget);
    if (!Compositing::active()) {
        // Nothing blends the transparent margin with the desktop, so it would
        // show black: make it the card's white, the outline still fading out.
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.fillRect(widget->rect(), Qt::white);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    }
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.fillPath(card, QBrush(Qt::white, Qt::SolidPattern));

    QColor shadow(13, 67, 119);
    for (int k = 0; k < 5; ++k) {
        QPainterPath outline;
        outline.setFillRule(Qt::WindingFill);
        outline.addRoundedRect(QRectF(5 - k, 5 - k, w - 10 + 2 * k, h - 10 + 2 * k), 0.0, 0.0,
                               Qt::AbsoluteSize);
        shadow.setAlpha(outlineAlpha(k));
        painter.setPen(shadow);
        painter.drawPath(outline);
    }
}

#pragma once

#include <QImage>
#include <QPainter>
#include <QSize>
#include <QString>

// Draws the program's artwork: one flat style on the accent blue #3598fe,
// with hover a shade lighter, pressed a shade darker and disabled grey.
class ArtworkPainter
{
public:
    // The picture for a path of widgets/SkinImages.h ("/Button/...",
    // ":/VNRSC/logo.png", ...), at the given size; a null image when the path
    // has no drawing. `scale` 2 draws the same picture with twice the pixels
    // (device pixel ratio 2), for high-DPI screens.
    static QImage render(const QString& path, QSize size, qreal scale = 1.0);

    // The program icon in a square of `side` units, for pictures of any
    // size and for the scalable icon alike.
    static void paintAppIcon(QPainter& painter, qreal side);

private:
    static QImage renderAtScale(const QString& path, QSize size);
};

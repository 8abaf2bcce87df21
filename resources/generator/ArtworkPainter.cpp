#include "ArtworkPainter.h"

#include <QFont>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>

#include <functional>

namespace {

// The palette of the whole program.
const QColor kAccent(0x35, 0x98, 0xfe);
const QColor kAccentHover(0x5a, 0xac, 0xff);
const QColor kAccentPressed(0x1b, 0x7f, 0xe6);
const QColor kTint(0xea, 0xf4, 0xff);        // light blue wash behind hovered icons
const QColor kTintPressed(0xd4, 0xe8, 0xff);
const QColor kIconGrey(0x8c, 0x96, 0xa3);
const QColor kDisabled(0xc5, 0xcc, 0xd5);
const QColor kDisabledFill(0xf3, 0xf5, 0xf7);
const QColor kText(0x48, 0x48, 0x48);
const QColor kTextSecondary(0x78, 0x78, 0x78);

enum class Look { Normal, Hover, Pressed, Disabled };

Look lookOf(const QString& path)
{
    if (path.contains(QLatin1String("_hover")) || path.endsWith(QLatin1String("_2.png")))
        return Look::Hover;
    if (path.contains(QLatin1String("_pressing")) || path.endsWith(QLatin1String("_3.png")))
        return Look::Pressed;
    if (path.contains(QLatin1String("_disable")))
        return Look::Disabled;
    return Look::Normal;
}

// Pixels per drawing unit of the picture being drawn: 1, or 2 for the "@2x"
// copies high-DPI screens load. Every drawing works in the picture's own
// units; the image's device pixel ratio makes the painter scale them.
qreal g_scale = 1.0;

QImage makeImage(QSize size, QImage::Format format)
{
    QImage image(size * g_scale, format);
    image.setDevicePixelRatio(g_scale);
    return image;
}

QImage canvas(QSize size)
{
    QImage image = makeImage(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

QFont uiFont(int pixels, int weight)
{
    // The program's own family; the fallback is set up in main() the same
    // way the program does it, so the pictures match the screens.
    QFont font(QStringLiteral("Segoe UI"));
    font.setPixelSize(pixels);
    font.setWeight(weight);
    font.setStyleStrategy(QFont::PreferAntialias);
    return font;
}

QPen strokePen(const QColor& colour, qreal width)
{
    return QPen(colour, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
}

// ---- text buttons -------------------------------------------------------

QImage filledButton(QSize size, Look look, qreal radius)
{
    QImage image = canvas(size);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QColor fill = kAccent;
    if (look == Look::Hover)
        fill = kAccentHover;
    else if (look == Look::Pressed)
        fill = kAccentPressed;
    else if (look == Look::Disabled)
        fill = kDisabled;
    p.setPen(Qt::NoPen);
    p.setBrush(fill);
    p.drawRoundedRect(QRectF(QPointF(0, 0), QSizeF(size)), radius, radius);
    if (look != Look::Disabled && look != Look::Pressed) {
        // A hairline of light along the top edge keeps the flat fill from looking dead.
        QLinearGradient shine(0, 0, 0, size.height());
        shine.setColorAt(0.0, QColor(255, 255, 255, 36));
        shine.setColorAt(0.5, QColor(255, 255, 255, 0));
        p.setBrush(shine);
        p.drawRoundedRect(QRectF(QPointF(0, 0), QSizeF(size)), radius, radius);
    }
    return image;
}

// Outlined: white with a blue outline; turns solid blue on hover so the
// screens' white hover text reads on it.
QImage outlinedButton(QSize size, Look look, qreal radius)
{
    QImage image = canvas(size);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QColor fill = Qt::white;
    QColor border = kAccent;
    if (look == Look::Hover)
        fill = border = kAccent;
    else if (look == Look::Pressed)
        fill = border = kAccentPressed;
    else if (look == Look::Disabled) {
        fill = kDisabledFill;
        border = kDisabled;
    }
    p.setPen(QPen(border, 1.0));
    p.setBrush(fill);
    p.drawRoundedRect(QRectF(0.5, 0.5, size.width() - 1.0, size.height() - 1.0), radius, radius);
    return image;
}

// ---- icons ----------------------------------------------------------------

// Colour of an icon glyph on a white bar in each look.
QColor glyphColour(Look look, const QColor& normal = kIconGrey)
{
    switch (look) {
    case Look::Hover: return kAccent;
    case Look::Pressed: return kAccentPressed;
    case Look::Disabled: return kDisabled;
    case Look::Normal: break;
    }
    return normal;
}

// The soft square behind a hovered or pressed icon.
void iconWash(QPainter& p, const QRectF& box, Look look, qreal radius)
{
    if (look == Look::Hover)
        p.setBrush(kTint);
    else if (look == Look::Pressed)
        p.setBrush(kTintPressed);
    else
        return;
    p.setPen(Qt::NoPen);
    p.drawRoundedRect(box, radius, radius);
}

using Glyph = std::function<void(QPainter&, const QColor&)>;

// An 18 x 18 title bar icon; glyphs are drawn in an 18-unit box.
QImage titleIcon(QSize size, Look look, const Glyph& glyph)
{
    QImage image = canvas(size);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.scale(size.width() / 18.0, size.height() / 18.0);
    iconWash(p, QRectF(0, 0, 18, 18), look, 4);
    glyph(p, glyphColour(look));
    return image;
}

void glyphClose(QPainter& p, const QColor& c)
{
    p.setPen(strokePen(c, 1.6));
    p.drawLine(QPointF(5, 5), QPointF(13, 13));
    p.drawLine(QPointF(13, 5), QPointF(5, 13));
}

void glyphMinimise(QPainter& p, const QColor& c)
{
    p.setPen(strokePen(c, 1.6));
    p.drawLine(QPointF(4.5, 11.5), QPointF(13.5, 11.5));
}

void glyphMenu(QPainter& p, const QColor& c)
{
    p.setPen(strokePen(c, 1.6));
    for (qreal y : {5.0, 9.0, 13.0})
        p.drawLine(QPointF(4, y), QPointF(14, y));
}

void glyphFeedback(QPainter& p, const QColor& c)
{
    QPainterPath bubble;
    bubble.addRoundedRect(QRectF(3, 3.5, 12, 9), 2.5, 2.5);
    QPainterPath tail;
    tail.moveTo(5.5, 12);
    tail.lineTo(5.5, 15.5);
    tail.lineTo(9.5, 12);
    p.setPen(strokePen(c, 1.5));
    p.setBrush(Qt::NoBrush);
    p.drawPath(bubble.united(tail));
    p.setPen(Qt::NoPen);
    p.setBrush(c);
    for (qreal x : {6.5, 9.0, 11.5})
        p.drawEllipse(QPointF(x, 8), 0.9, 0.9);
}

void glyphHouse(QPainter& p, const QColor& c)
{
    // In an 18-unit box.
    QPainterPath house;
    house.moveTo(2.5, 9);
    house.lineTo(9, 3);
    house.lineTo(15.5, 9);
    p.setPen(strokePen(c, 1.6));
    p.setBrush(Qt::NoBrush);
    p.drawPath(house);
    QPainterPath body;
    body.moveTo(4.5, 7.5);
    body.lineTo(4.5, 15);
    body.lineTo(13.5, 15);
    body.lineTo(13.5, 7.5);
    p.drawPath(body);
    p.drawLine(QPointF(7.5, 15), QPointF(7.5, 11));
    p.drawLine(QPointF(7.5, 11), QPointF(10.5, 11));
    p.drawLine(QPointF(10.5, 11), QPointF(10.5, 15));
}

// The close button of the blue dialog title bar.
QImage dialogClose(QSize size, Look look)
{
    QImage image = canvas(size);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.scale(size.width() / 18.0, size.height() / 18.0);
    p.setPen(Qt::NoPen);
    if (look == Look::Hover) {
        p.setBrush(QColor(255, 255, 255, 60));
        p.drawRoundedRect(QRectF(0, 0, 18, 18), 4, 4);
    } else if (look == Look::Pressed) {
        p.setBrush(QColor(0, 40, 90, 60));
        p.drawRoundedRect(QRectF(0, 0, 18, 18), 4, 4);
    }
    glyphClose(p, QColor(255, 255, 255, look == Look::Normal ? 225 : 255));
    return image;
}

// Tool-row buttons of the batch page: glyph and word in one picture, since
// the buttons carry no text. Glyphs are drawn in a 14-unit box.
QImage toolButton(QSize size, Look look, const QString& word, const Glyph& glyph)
{
    QImage image = canvas(size);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);
    iconWash(p, QRectF(0, 0, size.width(), size.height()), look, size.height() / 2.0);
    const QColor colour = look == Look::Normal ? kAccent : glyphColour(look);
    p.save();
    p.translate(5, (size.height() - 14) / 2.0);
    glyph(p, colour);
    p.restore();
    p.setPen(colour);
    p.setFont(uiFont(12, QFont::DemiBold));
    p.drawText(QRectF(23, 0, size.width() - 23, size.height()), Qt::AlignLeft | Qt::AlignVCenter, word);
    return image;
}

void glyphAdd(QPainter& p, const QColor& c)
{
    p.setPen(strokePen(c, 1.5));
    p.setBrush(Qt::NoBrush);
    p.drawEllipse(QPointF(7, 7), 6.2, 6.2);
    p.drawLine(QPointF(7, 4), QPointF(7, 10));
    p.drawLine(QPointF(4, 7), QPointF(10, 7));
}

void glyphFolder(QPainter& p, const QColor& c)
{
    p.setPen(strokePen(c, 1.4));
    p.setBrush(Qt::NoBrush);
    QPainterPath folder;
    folder.moveTo(1, 3);
    folder.lineTo(5.2, 3);
    folder.lineTo(6.6, 4.6);
    folder.lineTo(13, 4.6);
    folder.lineTo(13, 12);
    folder.lineTo(1, 12);
    folder.closeSubpath();
    p.drawPath(folder);
    p.drawLine(QPointF(7, 6.6), QPointF(7, 10.2));
    p.drawLine(QPointF(5.2, 8.4), QPointF(8.8, 8.4));
}

void glyphTrash(QPainter& p, const QColor& c)
{
    p.setPen(strokePen(c, 1.4));
    p.setBrush(Qt::NoBrush);
    p.drawLine(QPointF(1.5, 3.5), QPointF(12.5, 3.5));
    p.drawLine(QPointF(5.2, 1.2), QPointF(8.8, 1.2));
    QPainterPath can;
    can.moveTo(3, 3.5);
    can.lineTo(3.8, 13);
    can.lineTo(10.2, 13);
    can.lineTo(11, 3.5);
    p.drawPath(can);
    p.drawLine(QPointF(5.7, 6), QPointF(5.9, 10.5));
    p.drawLine(QPointF(8.3, 6), QPointF(8.1, 10.5));
}

void glyphClearList(QPainter& p, const QColor& c)
{
    p.setPen(strokePen(c, 1.4));
    p.drawLine(QPointF(1, 2.5), QPointF(13, 2.5));
    p.drawLine(QPointF(1, 6.5), QPointF(9, 6.5));
    p.drawLine(QPointF(1, 10.5), QPointF(6, 10.5));
    p.drawLine(QPointF(8.5, 9), QPointF(12.5, 13));
    p.drawLine(QPointF(12.5, 9), QPointF(8.5, 13));
}

QImage homeButton(QSize size, Look look)
{
    QImage image = canvas(size);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    // The house keeps to the left; the rest of the button belongs to its text.
    const qreal box = size.height();
    iconWash(p, QRectF(0, 0, box, box), look, box / 2.0);
    p.translate((box - 18) / 2.0, (box - 18) / 2.0);
    glyphHouse(p, look == Look::Normal ? kAccent : glyphColour(look));
    return image;
}

QImage fileAddButton(QSize size, Look look)
{
    QImage image = canvas(size);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    const QPointF centre(size.width() / 2.0, size.height() / 2.0);
    const qreal r = qMin(size.width(), size.height()) / 2.0 - 2;
    QColor fill = kTint;
    QColor plus = kAccent;
    if (look == Look::Hover) {
        fill = kAccent;
        plus = Qt::white;
    } else if (look == Look::Pressed) {
        fill = kAccentPressed;
        plus = Qt::white;
    } else if (look == Look::Disabled) {
        fill = kDisabledFill;
        plus = kDisabled;
    }
    p.setPen(look == Look::Normal ? QPen(QColor(0xb9, 0xd9, 0xfd), 1.5) : Qt::NoPen);
    p.setBrush(fill);
    p.drawEllipse(centre, r, r);
    p.setPen(strokePen(plus, 4));
    const qreal arm = r * 0.42;
    p.drawLine(centre - QPointF(arm, 0), centre + QPointF(arm, 0));
    p.drawLine(centre - QPointF(0, arm), centre + QPointF(0, arm));
    return image;
}

QImage checkBox(QSize size, const QString& which)
{
    QImage image = canvas(size);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.scale(size.width() / 14.0, size.height() / 14.0);
    const QRectF box(0.5, 0.5, 13, 13);
    if (which == QLatin1String("normal")) {
        p.setPen(QPen(QColor(0xb4, 0xbd, 0xc8), 1));
        p.setBrush(Qt::white);
        p.drawRoundedRect(box, 3, 3);
        return image;
    }
    p.setPen(QPen(kAccent, 1));
    p.setBrush(kAccent);
    p.drawRoundedRect(box, 3, 3);
    p.setPen(strokePen(Qt::white, 1.8));
    if (which == QLatin1String("selected")) {
        QPainterPath tick;
        tick.moveTo(3.6, 7.2);
        tick.lineTo(6.0, 9.6);
        tick.lineTo(10.5, 4.6);
        p.setBrush(Qt::NoBrush);
        p.drawPath(tick);
    } else {
        p.drawLine(QPointF(4, 7), QPointF(10, 7));
    }
    return image;
}

// A round badge with a white mark for the tip dialog.
QImage tipBadge(QSize size, const QColor& colour, const QString& mark)
{
    QImage image = canvas(size);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);
    p.setPen(Qt::NoPen);
    p.setBrush(colour);
    p.drawEllipse(QRectF(1, 1, size.width() - 2, size.height() - 2));
    p.setPen(Qt::white);
    p.setFont(uiFont(qRound(size.height() * 0.62), QFont::Bold));
    p.drawText(QRectF(0, 0, size.width(), size.height()), Qt::AlignCenter, mark);
    return image;
}

// A round badge with a white tick (done) or cross (failed), for table rows.
QImage markBadge(QSize size, const QColor& colour, bool tick)
{
    QImage image = canvas(size);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    p.setBrush(colour);
    const qreal w = size.width(), h = size.height();
    p.drawEllipse(QRectF(0.5, 0.5, w - 1, h - 1));
    p.setPen(QPen(Qt::white, w * 0.13, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    if (tick) {
        const QPointF points[] = {{w * 0.28, h * 0.52}, {w * 0.44, h * 0.68}, {w * 0.73, h * 0.36}};
        p.drawPolyline(points, 3);
    } else {
        p.drawLine(QPointF(w * 0.33, h * 0.33), QPointF(w * 0.67, h * 0.67));
        p.drawLine(QPointF(w * 0.67, h * 0.33), QPointF(w * 0.33, h * 0.67));
    }
    return image;
}

// The photo glyph used by the program icon and the home tiles: a frame with
// mountains and a sun, drawn into rect.
void photoGlyph(QPainter& p, const QRectF& rect, const QColor& frame, const QColor& land, const QColor& sun,
                const QColor& paper, qreal line)
{
    const qreal r = rect.height() * 0.12;
    p.setPen(QPen(frame, line, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(paper);
    p.drawRoundedRect(rect, r, r);

    const QRectF inner = rect.adjusted(line * 1.5, line * 1.5, -line * 1.5, -line * 1.5);
    p.save();
    QPainterPath clip;
    clip.addRoundedRect(inner, r * 0.6, r * 0.6);
    p.setClipPath(clip);
    p.setPen(Qt::NoPen);
    p.setBrush(sun);
    p.drawEllipse(QPointF(inner.left() + inner.width() * 0.72, inner.top() + inner.height() * 0.3),
                  inner.height() * 0.13, inner.height() * 0.13);
    QPainterPath hills;
    hills.moveTo(inner.left(), inner.bottom());
    hills.lineTo(inner.left() + inner.width() * 0.36, inner.top() + inner.height() * 0.42);
    hills.lineTo(inner.left() + inner.width() * 0.58, inner.top() + inner.height() * 0.7);
    hills.lineTo(inner.left() + inner.width() * 0.72, inner.top() + inner.height() * 0.55);
    hills.lineTo(inner.right(), inner.bottom());
    hills.closeSubpath();
    p.setBrush(land);
    p.drawPath(hills);
    p.restore();
}

QImage appIcon(QSize size)
{
    QImage image = canvas(size);
    QPainter p(&image);
    ArtworkPainter::paintAppIcon(p, size.width());
    return image;
}

QImage titleBackground(QSize size)
{
    QImage image = makeImage(size, QImage::Format_ARGB32_Premultiplied);
    QPainter p(&image);
    QLinearGradient fill(0, 0, size.width(), 0);
    fill.setColorAt(0, kAccent);
    fill.setColorAt(1, QColor(0x2f, 0x8d, 0xf5));
    p.fillRect(image.rect(), fill);
    return image;
}

QImage homeBackground(QSize size)
{
    QImage image = makeImage(size, QImage::Format_RGB32);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, 0, size.height());
    sky.setColorAt(0, QColor(0xf8, 0xfb, 0xff));
    sky.setColorAt(1, QColor(0xe8, 0xf2, 0xfe));
    p.fillRect(image.rect(), sky);
    // Two soft blue discs and a low wave give the page depth without noise.
    auto disc = [&](QPointF centre, qreal radius, int alpha) {
        QRadialGradient g(centre, radius);
        g.setColorAt(0, QColor(0x35, 0x98, 0xfe, alpha));
        g.setColorAt(1, QColor(0x35, 0x98, 0xfe, 0));
        p.setPen(Qt::NoPen);
        p.setBrush(g);
        p.drawEllipse(centre, radius, radius);
    };
    disc(QPointF(size.width() * 0.08, size.height() * 0.1), 260, 28);
    disc(QPointF(size.width() * 0.95, size.height() * 0.9), 320, 30);
    QPainterPath wave;
    const qreal w = size.width();
    const qreal h = size.height();
    wave.moveTo(0, h * 0.82);
    wave.cubicTo(w * 0.3, h * 0.72, w * 0.55, h * 0.95, w, h * 0.78);
    wave.lineTo(w, h);
    wave.lineTo(0, h);
    wave.closeSubpath();
    p.setBrush(QColor(0x35, 0x98, 0xfe, 14));
    p.drawPath(wave);
    return image;
}

// A home tile: white card, illustration, caption. The home page's white
// background shows through anything transparent here, so the card fills the
// whole tile. The "Start" button lies over the lower part (from y = 250), so
// the content stays above it.
QImage homeTile(QSize size, bool batch, bool hover)
{
    QImage image = makeImage(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);

    const QRectF card(0, 0, size.width(), size.height());
    if (hover) {
        QLinearGradient wash(0, 0, 0, size.height());
        wash.setColorAt(0, QColor(0xf2, 0xf8, 0xff));
        wash.setColorAt(1, Qt::white);
        p.fillRect(card, wash);
        p.setPen(QPen(kAccent, 2));
        p.setBrush(Qt::NoBrush);
        p.drawRect(card.adjusted(1, 1, -1, -1));
    } else {
        p.setPen(QPen(QColor(0xdd, 0xe7, 0xf3), 1));
        p.setBrush(Qt::NoBrush);
        p.drawRect(card.adjusted(0.5, 0.5, -0.5, -0.5));
    }

    const QPointF centre(size.width() / 2.0, 104);
    p.setPen(Qt::NoPen);
    p.setBrush(hover ? QColor(0xdc, 0xec, 0xff) : kTint);
    p.drawEllipse(centre, 64, 64);

    const QColor sun(0xff, 0xc5, 0x42);
    const QColor land = kAccent;
    const QSizeF photo(84, 64);
    if (!batch) {
        photoGlyph(p, QRectF(centre - QPointF(photo.width() / 2, photo.height() / 2), photo), kAccent, land, sun,
                   Qt::white, 3);
    } else {
        // Three photos fanned out: the back ones paler.
        const struct { qreal angle; QPointF shift; int alpha; } sheets[] = {
            {-12, QPointF(-14, 4), 110}, {8, QPointF(14, 2), 170}, {0, QPointF(0, 8), 255}};
        for (const auto& sheet : sheets) {
            p.save();
            p.translate(centre + sheet.shift);
            p.rotate(sheet.angle);
            QColor frame = kAccent;
            frame.setAlpha(sheet.alpha);
            QColor ground = land;
            ground.setAlpha(sheet.alpha);
            QColor light = sun;
            light.setAlpha(sheet.alpha);
            photoGlyph(p, QRectF(-photo.width() / 2 + 4, -photo.height() / 2 - 4, photo.width() - 8, photo.height() - 8),
                       frame, ground, light, Qt::white, 3);
            p.restore();
        }
    }

    p.setPen(hover ? kAccent : kText);
    p.setFont(uiFont(19, QFont::Bold));
    p.drawText(QRectF(card.left(), 186, card.width(), 26), Qt::AlignHCenter | Qt::AlignVCenter,
               batch ? QStringLiteral("Batch Conversion") : QStringLiteral("Single Photo"));
    p.setPen(kTextSecondary);
    p.setFont(uiFont(13, QFont::Normal));
    p.drawText(QRectF(card.left() + 12, 214, card.width() - 24, 22), Qt::AlignHCenter | Qt::AlignVCenter,
               batch ? QStringLiteral("Convert many HEIC photos at once") : QStringLiteral("Convert one HEIC photo to JPG"));
    return image;
}

// The drop zone card: white with a dashed blue border, so dropping is
// inviting. The labels on the card are white and reach to 5 px from its
// edges, so the border keeps inside that strip.
QImage dropZone(QSize size)
{
    QImage image = makeImage(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QPen dash(QColor(0x9f, 0xcb, 0xfd), 1.5, Qt::CustomDashLine, Qt::FlatCap);
    dash.setDashPattern({4, 3});
    p.setPen(dash);
    p.setBrush(Qt::NoBrush);
    p.drawRoundedRect(QRectF(2.5, 2.5, size.width() - 5, size.height() - 5), 8, 8);
    return image;
}

} // namespace

// The program icon: a blue rounded square holding a white photo, in a
// square of `s` units (pixels for a picture, points for the SVG).
void ArtworkPainter::paintAppIcon(QPainter& p, qreal s)
{
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF square(s * 0.03, s * 0.03, s * 0.94, s * 0.94);
    QLinearGradient fill(square.topLeft(), square.bottomRight());
    fill.setColorAt(0, kAccentHover);
    fill.setColorAt(1, kAccentPressed);
    p.setPen(Qt::NoPen);
    p.setBrush(fill);
    p.drawRoundedRect(square, s * 0.22, s * 0.22);
    const QRectF photo(s * 0.2, s * 0.25, s * 0.6, s * 0.5);
    photoGlyph(p, photo, Qt::white, Qt::white, QColor(0xff, 0xd2, 0x5c), QColor(0, 0, 0, 0), qMax(1.2, s * 0.06));
}

QImage ArtworkPainter::render(const QString& path, QSize size, qreal scale)
{
    struct ScaleScope
    {
        explicit ScaleScope(qreal s) { g_scale = s; }
        ~ScaleScope() { g_scale = 1.0; }
    } scope(scale);
    return renderAtScale(path, size);
}

QImage ArtworkPainter::renderAtScale(const QString& path, QSize size)
{
    const Look look = lookOf(path);
    const QString name = path.section(QLatin1Char('/'), -1);

    if (name.startsWith(QLatin1String("button100_2_")))
        return filledButton(size, look, 4);
    if (name.startsWith(QLatin1String("button100_")))
        return outlinedButton(size, look, 4);
    if (name.startsWith(QLatin1String("big_button_")))
        return filledButton(size, look, 8);
    if (path.startsWith(QLatin1String("/Application/Button_")))
        return filledButton(size, look, 4);
    if (name.startsWith(QLatin1String("ok_105_21_")))
        return filledButton(size, look, 3);

    if (name.startsWith(QLatin1String("add_icon_")))
        return toolButton(size, look, QStringLiteral("Add"), glyphAdd);
    if (name.startsWith(QLatin1String("addfolder_icon_")))
        return toolButton(size, look, QStringLiteral("Add Folder"), glyphFolder);
    if (name.startsWith(QLatin1String("delete_icon_")))
        return toolButton(size, look, QStringLiteral("Delete"), glyphTrash);
    if (name.startsWith(QLatin1String("clear_icon_")))
        return toolButton(size, look, QStringLiteral("Clear"), glyphClearList);
    if (name.startsWith(QLatin1String("file_add_bg_")))
        return dropZone(size);
    if (name.startsWith(QLatin1String("file_add_")))
        return fileAddButton(size, look);
    if (name.startsWith(QLatin1String("home_button_")))
        return homeButton(size, look);

    if (name.startsWith(QLatin1String("feedback_icon_")))
        return titleIcon(size, look, glyphFeedback);
    if (name.startsWith(QLatin1String("tools_icon_")))
        return titleIcon(size, look, glyphMenu);
    if (name.startsWith(QLatin1String("mini_icon_")))
        return titleIcon(size, look, glyphMinimise);
    if (name.startsWith(QLatin1String("close_icon_")))
        return titleIcon(size, look, glyphClose);
    if (name == QLatin1String("win_title_bg.png"))
        return titleBackground(size);
    if (name.startsWith(QLatin1String("win_")))
        return dialogClose(size, look);

    if (name == QLatin1String("tips_confirm.png"))
        return tipBadge(size, kAccent, QStringLiteral("?"));
    if (name == QLatin1String("tips_cancel.png"))
        return tipBadge(size, QColor(0xff, 0x9f, 0x2e), QStringLiteral("!"));
    if (name == QLatin1String("row_converted.png"))
        return markBadge(size, QColor(0x34, 0xb3, 0x6b), true);
    if (name == QLatin1String("row_failed.png"))
        return markBadge(size, QColor(0xe6, 0x43, 0x40), false);
    if (name.startsWith(QLatin1String("checkbox_")))
        return checkBox(size, name.mid(9).section(QLatin1Char('.'), 0, 0));

    if (name == QLatin1String("48x48.png") || name == QLatin1String("heic_icon_26.png")
        || name == QLatin1String("logo.png"))
        return appIcon(size);
    if (name == QLatin1String("home_bg.jpg"))
        return homeBackground(size);
    if (name.startsWith(QLatin1String("module1_")) || name.startsWith(QLatin1String("module2_")))
        return homeTile(size, name.startsWith(QLatin1String("module2_")), name.contains(QLatin1String("hover")));

    return QImage();
}

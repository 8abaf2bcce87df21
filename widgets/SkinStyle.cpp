#include "SkinStyle.h"

#include "PictovaResources.h"
#include "SkinImages.h"

#include <QCoreApplication>
#include <QDir>
#include <cmath>
#include <QStringList>

namespace {

// "Segoe UI" exists only on Windows. Elsewhere Qt would fall back to whatever
// fontconfig offers first (often a wide DejaVu), which breaks the tight
// layouts. Open Sans has close metrics and the same humanist shapes; the
// substitution only applies when the real family is missing.
void installOnce()
{
    static const bool done = [] {
        const QStringList fallbacks = {QStringLiteral("Open Sans"), QStringLiteral("Noto Sans"),
                                       QStringLiteral("Liberation Sans"), QStringLiteral("DejaVu Sans")};
        QFont::insertSubstitutions(QStringLiteral("Segoe UI"), fallbacks);
        QFont::insertSubstitutions(QStringLiteral("Tahoma"), fallbacks);
        // The logo and backgrounds live in a static library; without this call
        // the linker may drop them from the program.
        pictovaInitResources();
        return true;
    }();
    (void)done;
}

} // namespace

SkinStyle::SkinStyle()
    : m_fontFamily(QStringLiteral("Segoe UI"))
    , m_skinDir(skinDirFor(QCoreApplication::applicationDirPath()))
{
    installOnce();
    // Without its pictures the program shows empty buttons; say why, once.
    static const bool checked = [this] {
        if (!QDir(m_skinDir).exists())
            qWarning("Pictova: skin folder missing: %s", qUtf8Printable(m_skinDir));
        return true;
    }();
    (void)checked;
}

QPixmap SkinStyle::pixmap(const QString& file, qreal devicePixelRatio)
{
    if (devicePixelRatio > 1.0) {
        QPixmap sharp(SkinImages::highDpiFileName(file));
        if (!sharp.isNull()) {
            sharp.setDevicePixelRatio(2.0);
            return sharp;
        }
    }
    return QPixmap(file);
}

QString SkinStyle::skinDirFor(const QString& applicationDir)
{
    return applicationDir + QStringLiteral("/Skin");
}

QFont SkinStyle::font(int index) const
{
    int weight = QFont::Normal;
    int pixels = 15;
    bool antialias = false;

    switch (index) {
    case 0: case 8: pixels = 14; break;
    case 1: case 6: pixels = 13; break;
    case 2: weight = 62; pixels = 15; break;
    case 3: case 9: weight = QFont::Bold; pixels = 14; break;
    case 4: pixels = 11; break;
    case 5: weight = QFont::Bold; pixels = 11; break;
    case 7: weight = QFont::Bold; pixels = 13; break;
    case 10: pixels = 15; break;
    case 11: weight = QFont::Bold; pixels = 15; break;
    case 22: weight = QFont::Bold; pixels = 27; antialias = true; break;
    case 23: pixels = 8; break;
    case 24: pixels = 9; break;
    case 56: pixels = 27; break;
    default:
        if (index >= 12 && index <= 21) {
            weight = index % 2 == 0 ? QFont::Normal : QFont::Bold;
            pixels = 16 + (index - 12) / 2;
        } else if (index >= 25 && index <= 55) {
            weight = index % 2 == 1 ? QFont::Bold : QFont::Normal;
            pixels = 9 + (index - 24) / 2;
        }
        break;
    }

    QFont f(m_fontFamily);
    f.setPixelSize(pixels);
    f.setWeight(weight);
    f.setItalic(false);
    if (antialias)
        f.setStyleStrategy(QFont::PreferAntialias);
    return f;
}

QColor SkinStyle::color(int index) const
{
    switch (index) {
    case 1: return QColor(97, 108, 114);
    case 2: return QColor(120, 120, 120);
    case 5: return QColor(21, 160, 245);
    case 6: return QColor(88, 88, 88);
    case 7: return QColor(85, 179, 104);
    case 8: return QColor(169, 169, 169);
    default: return QColor(255, 255, 255);
    }
}

QString SkinStyle::unitName(int exponent)
{
    switch (exponent) {
    case 0: return QStringLiteral("Byte");
    case 1: return QStringLiteral("KB");
    case 2: return QStringLiteral("MB");
    default: return QStringLiteral("GB");
    }
}

int SkinStyle::scaleSize(double value, double divisor, double& out)
{
    // A divisor of 1 or less, or an infinite value, would never come down.
    if (value > 1024.0 && divisor > 1.0 && std::isfinite(value))
        return 1 + scaleSize(value / divisor, divisor, out);
    out = value;
    return 0;
}

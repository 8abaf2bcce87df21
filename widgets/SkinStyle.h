#pragma once

#include <QColor>
#include <QFont>
#include <QPixmap>
#include <QString>

// The fonts, colours and skin folder every screen takes its look from. Each
// screen holds its own copy; it is two strings, so copies are cheap.
class SkinStyle
{
public:
    SkinStyle();

    QString fontFamily() const { return m_fontFamily; }
    // Program folder + "/Skin", no trailing slash: callers append "/Button/...".
    QString skinDir() const { return m_skinDir; }

    // Screens pick fonts by number; the table is irregular on purpose and the
    // numbers are shared by every screen, so it must not be "tidied".
    QFont font(int index) const;
    QColor color(int index) const;

    // File size formatting helpers: unit for 1024^exponent, and how many times
    // value had to be divided by divisor to drop to 1024 or below.
    static QString unitName(int exponent);
    static int scaleSize(double value, double divisor, double& out);

    // A skin picture for a screen of the given device pixel ratio: above 1
    // its "@2x" copy when there is one (shown at the same size, twice as
    // sharp), otherwise the file itself.
    static QPixmap pixmap(const QString& file, qreal devicePixelRatio);

    // Skin folder below a given program folder; skinDir() uses the running
    // program's folder.
    static QString skinDirFor(const QString& applicationDir);

private:
    QString m_fontFamily;
    QString m_skinDir;
    // Spare text slots the kit has always carried; nothing uses them.
    QString m_reserved[5];
};

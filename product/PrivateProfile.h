#pragma once

#include <QString>
#include <QStringList>

// Reads and writes one value of an INI file with the Windows profile
// functions (GetPrivateProfileStringW / WritePrivateProfileStringW) on
// Windows, and the way they do on every other system, so a "Version.ini"
// written by the Windows installer reads the same here and the other way
// round (the same tests run against both):
//   - section and key names match without regard to case, first match wins;
//   - a value is the text after the first '=', blanks trimmed, and one pair
//     of matching quotes round it removed; nothing else is an escape, so
//     addresses keep their ';', '#', '%' and ',' as they are;
//   - a missing file, section or key gives the caller's default;
//   - writing replaces the key's line or adds it at the end of its section
//     (the section at the end of the file when it is new), leaves every other
//     line as it was and ends lines with CR LF.
// QSettings is not used on purpose: it percent-escapes keys, splits values at
// commas into lists, treats keys case-sensitively and reorders the file.
//
// Files with a UTF-16LE byte-order mark are read and written in UTF-16LE;
// all others in the local 8-bit encoding (the ANSI code page on Windows).
// Elsewhere writes go through a temporary file and a rename, so a crash never
// leaves half a configuration behind; on Windows the system's call writes.
class PrivateProfile
{
public:
    explicit PrivateProfile(const QString& filePath);

    QString readString(const QString& section, const QString& key,
                       const QString& fallback) const;
    bool writeString(const QString& section, const QString& key, const QString& value);

private:
    struct Content
    {
        QStringList lines;
        bool utf16 = false;
        bool exists = false;
    };
    Content load() const;

    QString m_filePath;
};

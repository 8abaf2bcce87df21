#include "PrivateProfile.h"

#include "Platform.h"

#include <QFile>
#include <QSaveFile>
#include <QtEndian>

namespace {

const QByteArray utf16leMark("\xFF\xFE", 2);
const QByteArray utf8Mark("\xEF\xBB\xBF", 3);

// The name of a section header line ("[ name ]" gives "name"), or a null
// string when the line is not a section header.
QString sectionName(const QString& line)
{
    const QString t = line.trimmed();
    if (!t.startsWith(QLatin1Char('[')))
        return QString();
    const int close = t.indexOf(QLatin1Char(']'));
    const QString name = t.mid(1, close < 0 ? -1 : close - 1).trimmed();
    return name.isNull() ? QStringLiteral("") : name;
}

bool sameName(const QString& a, const QString& b)
{
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

// True when the line is "key = value" for this key; value receives the
// text after the first '=' with the profile functions' trimming and quote
// removal.
bool matchKey(const QString& line, const QString& key, QString* value)
{
    const int eq = line.indexOf(QLatin1Char('='));
    if (eq < 0 || !sameName(line.left(eq).trimmed(), key.trimmed()))
        return false;
    QString v = line.mid(eq + 1).trimmed();
    if (v.size() >= 2) {
        const QChar first = v.front();
        if ((first == QLatin1Char('"') || first == QLatin1Char('\'')) && v.back() == first)
            v = v.mid(1, v.size() - 2);
    }
    *value = v;
    return true;
}

} // namespace

PrivateProfile::PrivateProfile(const QString& filePath)
    : m_filePath(filePath)
{
}

PrivateProfile::Content PrivateProfile::load() const
{
    Content c;
    QFile file(m_filePath);
    if (!file.open(QIODevice::ReadOnly))
        return c;
    c.exists = true;
    const QByteArray raw = file.readAll();
    QString text;
    if (raw.startsWith(utf16leMark)) {
        c.utf16 = true;
        const int units = (raw.size() - 2) / 2;
        text.resize(units);
        for (int i = 0; i < units; ++i)
            text[i] = QChar(qFromLittleEndian<quint16>(raw.constData() + 2 + 2 * i));
    } else if (raw.startsWith(utf8Mark)) {
        text = QString::fromUtf8(raw.mid(utf8Mark.size()));
    } else {
        text = QString::fromLocal8Bit(raw);
    }
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    c.lines = text.split(QLatin1Char('\n'));
    // A final line end leaves one empty entry that is not a line of the file.
    if (!c.lines.isEmpty() && c.lines.back().isEmpty())
        c.lines.removeLast();
    return c;
}

QString PrivateProfile::readString(const QString& section, const QString& key,
                                   const QString& fallback) const
{
    if (const std::optional<QString> value =
            Platform::readProfileString(m_filePath, section, key, fallback))
        return *value;
    const Content c = load();
    bool inSection = false;
    for (const QString& line : c.lines) {
        const QString name = sectionName(line);
        if (!name.isNull()) {
            // Only the first section of a name counts, as with Windows.
            if (inSection)
                break;
            inSection = sameName(name, section);
            continue;
        }
        QString value;
        if (inSection && matchKey(line, key, &value))
            return value;
    }
    return fallback;
}

bool PrivateProfile::writeString(const QString& section, const QString& key, const QString& value)
{
    if (const std::optional<bool> written =
            Platform::writeProfileString(m_filePath, section, key, value))
        return *written;
    Content c = load();
    const QString entry = key.trimmed() + QLatin1Char('=') + value;

    int sectionStart = -1;
    int lastContent = -1; // last non-blank line of the section
    bool replaced = false;
    for (int i = 0; i < c.lines.size(); ++i) {
        const QString name = sectionName(c.lines[i]);
        if (!name.isNull()) {
            if (sectionStart >= 0)
                break;
            if (sameName(name, section)) {
                sectionStart = i;
                lastContent = i;
            }
            continue;
        }
        if (sectionStart < 0)
            continue;
        QString old;
        if (matchKey(c.lines[i], key, &old)) {
            c.lines[i] = entry;
            replaced = true;
            break;
        }
        if (!c.lines[i].trimmed().isEmpty())
            lastContent = i;
    }
    if (!replaced) {
        if (sectionStart >= 0) {
            c.lines.insert(lastContent + 1, entry);
        } else {
            c.lines << QLatin1Char('[') + section + QLatin1Char(']') << entry;
        }
    }

    const QString text = c.lines.join(QLatin1String("\r\n")) + QLatin1String("\r\n");
    QByteArray bytes;
    if (c.utf16) {
        bytes = utf16leMark;
        bytes.resize(2 + 2 * text.size());
        for (int i = 0; i < text.size(); ++i)
            qToLittleEndian<quint16>(text[i].unicode(), bytes.data() + 2 + 2 * i);
    } else {
        bytes = text.toLocal8Bit();
    }

    QSaveFile out(m_filePath);
    if (!out.open(QIODevice::WriteOnly))
        return false;
    out.write(bytes);
    return out.commit();
}

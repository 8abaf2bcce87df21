#include "API_VersionControl.h"

#include "PrivateProfile.h"
#include "ProductInfo.h"
#include "Platform.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QUrl>
#include <QtEndian>

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>
#include <string>

namespace LL {

static_assert(sizeof(char16_t) == 2, "the file formats hold 16-bit text");
static_assert(API_VersionControl::kRecordSize == 516, "menu entry record size");
static_assert(API_VersionControl::kTableSize == 9804, "menu table size");
static_assert(API_VersionControl::kTrailerSize == 1540, "installer trailer size");

namespace {

const char16_t kMarker[] = u"E15436C9-F797-4CBD-B3AA-9E27D649D47E";
const char16_t kVersionWord[] = u"Version";

const char* const kSectionVersion = "VERSION";
const char* const kSectionState = "STATE";

QString fromWide(const wchar_t* text)
{
    return text ? QString::fromWCharArray(text) : QString();
}

// Copies text into a caller's buffer of `capacity` characters, cut to fit
// and always zero-terminated.
void toWide(const QString& text, wchar_t* out, int capacity)
{
    if (!out || capacity <= 0)
        return;
    std::wstring w = text.toStdWString();
    if (w.size() >= size_t(capacity))
        w.resize(size_t(capacity) - 1);
    std::copy(w.begin(), w.end(), out);
    out[w.size()] = L'\0';
}

// Stores text in a fixed UTF-16 field: at most 255 units so that the
// terminator always fits, never half of a surrogate pair, zero-padded.
template<size_t N>
void toField(const QString& text, char16_t (&field)[N])
{
    std::fill(std::begin(field), std::end(field), u'\0');
    int n = qMin(text.size(), int(N) - 1);
    if (n > 0 && n < text.size() && text.at(n - 1).isHighSurrogate())
        --n;
    for (int i = 0; i < n; ++i)
        field[i] = text.at(i).unicode();
}

template<size_t N>
QString fromField(const char16_t (&field)[N])
{
    size_t n = 0;
    while (n < N && field[n] != u'\0')
        ++n;
    return QString::fromUtf16(field, int(n));
}

template<size_t N>
void putField(char* out, const char16_t (&field)[N])
{
    for (size_t i = 0; i < N; ++i)
        qToLittleEndian<quint16>(field[i], out + 2 * i);
}

template<size_t N>
void getField(const char* in, char16_t (&field)[N])
{
    for (size_t i = 0; i < N; ++i)
        field[i] = qFromLittleEndian<quint16>(in + 2 * i);
}

// The first `units` UTF-16LE code units of a zero-terminated text, as bytes.
QByteArray utf16le(const char16_t* text, int units)
{
    QByteArray bytes(2 * units, '\0');
    for (int i = 0; i < units; ++i)
        qToLittleEndian<quint16>(text[i], bytes.data() + 2 * i);
    return bytes;
}

// The number at the start of a text, as the C runtime's _wtoi reads it:
// blanks, an optional sign, digits; 0 when there are none; clamped to int.
int leadingInt(const QString& text)
{
    int i = 0;
    while (i < text.size() && text.at(i).isSpace())
        ++i;
    bool negative = false;
    if (i < text.size() && (text.at(i) == QLatin1Char('-') || text.at(i) == QLatin1Char('+')))
        negative = text.at(i++) == QLatin1Char('-');
    qint64 value = 0;
    for (; i < text.size() && text.at(i) >= QLatin1Char('0') && text.at(i) <= QLatin1Char('9'); ++i) {
        value = value * 10 + (text.at(i).unicode() - '0');
        if (value > qint64(INT_MAX) + 1)
            break;
    }
    if (negative)
        value = -value;
    return int(qBound<qint64>(INT_MIN, value, INT_MAX));
}

QString menuKey(int number)
{
    switch (number) {
    case 0: return QStringLiteral("VANTORA_MENU_TYPE");
    case 3: return QStringLiteral("VANTORA_MENU_TUTORIAL");
    case 4: return QStringLiteral("VANTORA_MENU_FREQUENTLY_ASKED_QUESTIONS");
    case 5: return QStringLiteral("VANTORA_MENU_WRITE_A_PRODUCT_REVIEW");
    case 6: return QStringLiteral("VANTORA_MENU_CONTACT_US");
    case 7: return QStringLiteral("VANTORA_MENU_VIEW_FACEBOOK_FAN_PAGE");
    case 8: return QStringLiteral("VANTORA_MENU_FOLLOW_US_ON_TWITTER");
    case 9: return QStringLiteral("VANTORA_MENU_LANGUAGE");
    case 10: return QStringLiteral("VANTORA_MENU_CHECK_FOR_UPDATES");
    case 11: return QStringLiteral("VANTORA_MENU_ABOUT");
    case 12: return QStringLiteral("VANTORA_MENU_EXIT");
    case 13: return QStringLiteral("VANTORA_MENU_INSTALL_URL");
    case 15: return QStringLiteral("VANTORA_MENU_START_HOME_PAGE");
    case 16: return QStringLiteral("VANTORA_MENU_START_TUTORIAL");
    case 17: return QStringLiteral("VANTORA_MENU_BY_PRODUCT");
    case 1: case 2: case 14: case 18:
        return QString(); // reserved: no entry is stored under them
    default:
        return QStringLiteral("VANTORA_MENU_MAX_LENGTH");
    }
}

bool validNumber(int number)
{
    return number >= 0 && number < API_VersionControl::kMenuCount;
}

} // namespace

API_VersionControl::API_VersionControl()
    : m_tableSize(kTableSize)
{
    std::memset(m_entries, 0, sizeof m_entries);
    std::memset(&m_installTrailer, 0, sizeof m_installTrailer);
    std::memset(m_productNames, 0, sizeof m_productNames);
    FormatProductName();
}

API_VersionControl::~API_VersionControl() = default;

void API_VersionControl::SetProgramDirectory(const QString& folder)
{
    m_programDirectory = folder;
}

QString API_VersionControl::programDirectory() const
{
    return m_programDirectory.isEmpty() ? QCoreApplication::applicationDirPath()
                                        : m_programDirectory;
}

void API_VersionControl::FormatProductName()
{
    // The table has room for a family of products; this program is the only
    // one there is, in the last place, and the other places stay empty.
    toWide(ProductInfo::productName(), m_productNames[kProductCount - 1], kTextChars);
}

bool API_VersionControl::GetVersionFilePath(wchar_t* path)
{
    toWide(QDir::toNativeSeparators(programDirectory() + QStringLiteral("/Version.ini")), path,
           kPathChars);
    return true;
}

void API_VersionControl::GetStartMenuPath(wchar_t* path)
{
    toWide(QDir::toNativeSeparators(Platform::startMenuProgramsDir()), path, kPathChars);
}

bool API_VersionControl::GetVersionInfo(int number, int* state, wchar_t* url)
{
    wchar_t path[kPathChars];
    GetVersionFilePath(path);
    QFile file(fromWide(path));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    if (number < 0 || !file.seek(qint64(number) * kRecordSize))
        return false;
    const QByteArray record = file.read(kRecordSize);
    if (record.size() != kRecordSize)
        return false;
    MenuEntry entry;
    entry.state = qFromLittleEndian<qint32>(record.constData());
    getField(record.constData() + 4, entry.url);
    if (state)
        *state = entry.state;
    toWide(fromField(entry.url), url, kPathChars);
    return true;
}

QString API_VersionControl::productLinkPath() const
{
    const QString product = fromField(m_installTrailer.productName);
    return Platform::startMenuProgramsDir() + QStringLiteral("/Vantora/") + product
           + QLatin1Char('/') + product + QStringLiteral(".lnk");
}

QString API_VersionControl::linkFolder() const
{
    const QString target = Platform::shortcutTarget(productLinkPath());
    if (target.isEmpty())
        return QString();
    const QString normal = QDir::fromNativeSeparators(target);
    return normal.left(normal.lastIndexOf(QLatin1Char('/')) + 1);
}

bool API_VersionControl::WriteVersionFile()
{
    const QString folder = linkFolder();
    if (folder.isEmpty()) {
        qWarning("Version.ini not written: the product's Start-menu link does not resolve");
        return false;
    }
    const QString iniPath = folder + QStringLiteral("Version.ini");
    {
        QFile file(iniPath);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return false;
    }
    const std::wstring wPath = QDir::toNativeSeparators(iniPath).toStdWString();
    bool written = true;
    for (int n = 0; n < kMenuCount; ++n) {
        wchar_t key[kTextChars];
        MenuNumberToString(n, key);
        if (key[0] == L'\0')
            continue;
        wchar_t url[kTextChars];
        toWide(fromField(m_entries[n].url), url, kTextChars);
        const int state = m_entries[n].state;
        written = WriteVersion(key, url, &state, wPath.c_str()) && written;
    }
    return written;
}

void API_VersionControl::GetMenuStateAndURL(int number, int* state, wchar_t* url)
{
    wchar_t key[kTextChars];
    MenuNumberToString(number, key);
    ReadVersion(key, url, state);
}

void API_VersionControl::GetMenuStateAndURLEx(int number, int* state, wchar_t* url)
{
    if (!validNumber(number)) {
        toWide(QString(), url, kTextChars);
        return;
    }
    if (state)
        *state = m_entries[number].state;
    toWide(fromField(m_entries[number].url), url, kTextChars);
}

void API_VersionControl::SetMenuStateAndURL(int number, const int* state, const wchar_t* url)
{
    if (!validNumber(number))
        return;
    if (state)
        m_entries[number].state = *state;
    if (url)
        toField(fromWide(url), m_entries[number].url);
}

void API_VersionControl::readProfileEntry(const QString& iniPath, const QString& key,
                                          QString* url, int* state) const
{
    const PrivateProfile profile(iniPath);
    *url = profile.readString(QLatin1String(kSectionVersion), key, QString()).left(kTextChars - 1);
    const QString stateText =
        profile.readString(QLatin1String(kSectionState), key, QStringLiteral("1"));
    *state = leadingInt(stateText.left(kTextChars - 1));
}

bool API_VersionControl::ReadVersion(const wchar_t* key, wchar_t* url, int* state)
{
    wchar_t path[kPathChars];
    GetVersionFilePath(path);
    QString text;
    int value = 1;
    readProfileEntry(fromWide(path), fromWide(key), &text, &value);
    toWide(text, url, kTextChars);
    if (state)
        *state = value;
    return true;
}

bool API_VersionControl::WriteVersion(const wchar_t* key, const wchar_t* url, const int* state,
                                      const wchar_t* path)
{
    if (!key || !url || !state || !path)
        return false;
    PrivateProfile profile(fromWide(path));
    profile.writeString(QLatin1String(kSectionVersion), fromWide(key), fromWide(url));
    return profile.writeString(QLatin1String(kSectionState), fromWide(key),
                               QString::number(*state));
}

void API_VersionControl::MenuNumberToString(int number, wchar_t* key)
{
    toWide(menuKey(number), key, kTextChars);
}

void API_VersionControl::VersionTranslated()
{
    const QString folder = linkFolder();
    if (folder.isEmpty())
        return;
    const QString iniPath = folder + QStringLiteral("Version.ini");
    if (!QFileInfo(iniPath).isFile())
        return;

    QString lastKey;
    for (int n = 0; n < kMenuCount; ++n) {
        const QString key = menuKey(n);
        if (key.isEmpty())
            continue;
        QString url;
        int state = 1;
        readProfileEntry(iniPath, key, &url, &state);
        m_entries[n].state = state;
        toField(url, m_entries[n].url);
        lastKey = key;
    }

    // The header holds the key last worked on; readers skip it.
    char16_t header[kBinHeaderSize / 2];
    toField(lastKey, header);
    QSaveFile bin(folder + QStringLiteral("Version.bin"));
    if (!bin.open(QIODevice::WriteOnly)) {
        qWarning("Version.bin could not be created in %s", qPrintable(folder));
        return;
    }
    bin.write(utf16le(header, kBinHeaderSize / 2));
    bin.write(TableBytes());
    if (!bin.commit())
        qWarning("Version.bin could not be written in %s", qPrintable(folder));
}

bool API_VersionControl::GetLinkDirectroy(const wchar_t* linkPath, wchar_t* folder)
{
    toWide(QString(), folder, kTextChars);
    const QString target = Platform::shortcutTarget(fromWide(linkPath));
    if (target.isEmpty())
        return false;
    const QString normal = QDir::fromNativeSeparators(target);
    toWide(QDir::toNativeSeparators(normal.left(normal.lastIndexOf(QLatin1Char('/')) + 1)),
           folder, kTextChars);
    return true;
}

void API_VersionControl::GetVersionStartMenuPath(wchar_t* first, wchar_t* homepage, wchar_t* howTo)
{
    // The blank after the separator is part of the shortcut names.
    const QString base = Platform::startMenuProgramsDir() + QStringLiteral("/Vantora/")
                         + fromField(m_installTrailer.productName);
    toWide(QDir::toNativeSeparators(base + QStringLiteral("/ Purchase on the Web.url")), first,
           kPathChars);
    toWide(QDir::toNativeSeparators(base + QStringLiteral("/ Homepage on the Web.url")), homepage,
           kPathChars);
    toWide(QDir::toNativeSeparators(base + QStringLiteral("/ How to Use on the Web.url")), howTo,
           kPathChars);
}

int API_VersionControl::UnicodeToAscii(const wchar_t* text, char* out, int size)
{
    const QByteArray bytes = Platform::toAnsiCodePage(fromWide(text));
    const int needed = bytes.size() + 1;
    if (needed > size)
        return needed;
    std::memcpy(out, bytes.constData(), size_t(bytes.size()));
    out[bytes.size()] = '\0';
    return 0;
}

void API_VersionControl::SetLinkUrl(const wchar_t* path, const wchar_t* url)
{
    if (!path || !url)
        return;
    char address[kPathChars];
    if (UnicodeToAscii(url, address, kPathChars) != 0) {
        qWarning("Shortcut not written: the address does not fit in %d bytes", kPathChars);
        return;
    }
    QSaveFile file(fromWide(path));
    if (!file.open(QIODevice::WriteOnly)) {
        qWarning("Shortcut %s could not be created", qPrintable(fromWide(path)));
        return;
    }
    // Shortcut readers take the address up to the end of the file, so no
    // line end follows it.
    file.write("[InternetShortcut]\r\nURL=");
    file.write(address);
    if (!file.commit())
        qWarning("Shortcut %s could not be written", qPrintable(fromWide(path)));
}

QByteArray API_VersionControl::TableBytes() const
{
    QByteArray bytes(kTableSize, '\0');
    for (int n = 0; n < kMenuCount; ++n) {
        char* record = bytes.data() + n * kRecordSize;
        qToLittleEndian<qint32>(m_entries[n].state, record);
        putField(record + 4, m_entries[n].url);
    }
    return bytes;
}

void API_VersionControl::setTableBytes(const char* bytes)
{
    for (int n = 0; n < kMenuCount; ++n) {
        const char* record = bytes + n * kRecordSize;
        m_entries[n].state = qFromLittleEndian<qint32>(record);
        getField(record + 4, m_entries[n].url);
    }
}

QByteArray API_VersionControl::TrailerBytes() const
{
    QByteArray bytes(kTrailerSize, '\0');
    char* out = bytes.data();
    qToLittleEndian<quint32>(m_installTrailer.magic, out);
    putField(out + 4, m_installTrailer.marker);
    putField(out + 4 + 2 * kTextChars, m_installTrailer.version);
    putField(out + 4 + 4 * kTextChars, m_installTrailer.productName);
    return bytes;
}

void API_VersionControl::setTrailerBytes(const char* bytes)
{
    m_installTrailer.magic = qFromLittleEndian<quint32>(bytes);
    getField(bytes + 4, m_installTrailer.marker);
    getField(bytes + 4 + 2 * kTextChars, m_installTrailer.version);
    getField(bytes + 4 + 4 * kTextChars, m_installTrailer.productName);
}

bool API_VersionControl::ProductInstallFile(const wchar_t* source, const wchar_t* target)
{
    QFile in(fromWide(source));
    if (!in.open(QIODevice::ReadOnly))
        return false;
    // The copy appears under its name only once it is complete.
    QSaveFile out(fromWide(target));
    if (!out.open(QIODevice::WriteOnly))
        return false;
    QByteArray chunk;
    while (!(chunk = in.read(1 << 20)).isEmpty()) {
        if (out.write(chunk) != chunk.size())
            return false;
    }
    if (in.error() != QFileDevice::NoError)
        return false;

    m_installTrailer.magic = kTrailerMagic;
    toField(QString::fromUtf16(kVersionWord), m_installTrailer.version);
    toField(QString::fromUtf16(kMarker), m_installTrailer.marker);
    out.write(TableBytes());
    out.write(TrailerBytes());
    return out.commit();
}

bool API_VersionControl::ReadInstallFile(const wchar_t* file)
{
    QFile in(fromWide(file));
    if (!in.open(QIODevice::ReadOnly))
        return false;

    // The trailer is looked for byte by byte, its start from 1,540 up to
    // 99,999 bytes before the end; reading that tail once and searching it
    // in memory finds the same trailer as seeking and reading at every step.
    const qint64 size = in.size();
    const qint64 tailSize = qMin<qint64>(size, kTrailerSearchLimit - 1);
    if (tailSize < kTrailerSize || !in.seek(size - tailSize))
        return false;
    const QByteArray tail = in.read(tailSize);
    if (tail.size() != tailSize)
        return false;

    QByteArray magic(4, '\0');
    qToLittleEndian<quint32>(kTrailerMagic, magic.data());
    const QByteArray marker = utf16le(kMarker, int(std::size(kMarker))); // terminator included
    const QByteArray version = utf16le(kVersionWord, 8);

    for (qint64 at = tailSize - kTrailerSize; at >= 0; --at) {
        const char* trailer = tail.constData() + at;
        if (std::memcmp(trailer, magic.constData(), 4) != 0
            || std::memcmp(trailer + 4 + 2 * kTextChars, version.constData(), version.size()) != 0
            || std::memcmp(trailer + 4, marker.constData(), marker.size()) != 0)
            continue;
        qDebug("IVT:wcscmp() Done");
        const qint64 tableAt = size - tailSize + at - m_tableSize;
        if (tableAt < 0 || !in.seek(tableAt))
            return false;
        const QByteArray table = in.read(m_tableSize);
        if (table.size() != m_tableSize)
            return false;
        setTrailerBytes(trailer);
        setTableBytes(table.constData());
        return true;
    }
    return false;
}

void API_VersionControl::SingInstallFile(const wchar_t* file)
{
    if (!Platform::startSigningScript(fromWide(file)))
        qWarning("The signing script could not be started for %s", qPrintable(fromWide(file)));
}

void API_VersionControl::PopInstallURL()
{
    const MenuEntry& install = m_entries[13];
    if (install.state != 1)
        return;
    const QString url = fromField(install.url);
    if (!url.isEmpty())
        QDesktopServices::openUrl(QUrl(url, QUrl::TolerantMode));
}

int API_VersionControl::SelectProductNumber(const wchar_t* name)
{
    if (!name)
        return -1;
    for (int i = 0; i < kProductCount; ++i) {
        if (std::wcscmp(m_productNames[i], name) == 0)
            return i;
    }
    return -1;
}

int API_VersionControl::GetProductMaxNumber()
{
    return kProductCount;
}

void API_VersionControl::GetProductName(int index, wchar_t* name)
{
    if (index < 0 || index >= kProductCount) {
        toWide(QString(), name, kTextChars);
        return;
    }
    toWide(QString::fromWCharArray(m_productNames[index]), name, kTextChars);
}

void API_VersionControl::SetCurrProductName(const wchar_t* name)
{
    toField(fromWide(name), m_installTrailer.productName);
}

void API_VersionControl::SetExeWorkDirectory()
{
    if (!QDir::setCurrent(programDirectory()))
        qWarning("Could not change to the program's folder %s", qPrintable(programDirectory()));
}

} // namespace LL

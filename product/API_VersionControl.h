#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

namespace LL {

// The product configuration: a table of 19 tools-menu entries (a state and
// a web address each) and the files it travels in:
//   - "Version.ini" beside the program, read by the tools menu at run time;
//   - "Version.bin", a 256-byte header and the raw table, made by the
//     installer tools;
//   - the installer file itself, which carries the table and a 1,540-byte
//     trailer appended at its end;
//   - Internet-shortcut files of the Start menu.
// The binary formats are little-endian with UTF-16LE text on every system
// (wchar_t is four bytes outside Windows), so every field is written out one
// by one rather than copied from memory.
//
// Text goes in and out through caller-supplied, zero-terminated wchar_t
// buffers: 256 characters for keys, addresses and names, 260 for paths.
class API_VersionControl
{
public:
    static constexpr int kMenuCount = 19;
    static constexpr int kProductCount = 11;
    static constexpr int kTextChars = 256;
    static constexpr int kPathChars = 260;
    static constexpr int kRecordSize = 4 + 2 * kTextChars;         // 516
    static constexpr int kTableSize = kMenuCount * kRecordSize;    // 9,804
    static constexpr int kTrailerSize = 4 + 3 * 2 * kTextChars;    // 1,540
    static constexpr int kBinHeaderSize = 256;
    static constexpr quint32 kTrailerMagic = 16534;
    // How far back from the end of an installer the trailer is looked for.
    static constexpr int kTrailerSearchLimit = 100000;

    API_VersionControl();
    API_VersionControl(const API_VersionControl&) = default;
    API_VersionControl& operator=(const API_VersionControl&) = default;
    virtual ~API_VersionControl();

    // One record read from "Version.ini" as if it were a file of 516-byte
    // records (number x 516 from the start). False when the file does not
    // open or holds no whole record there.
    virtual bool GetVersionInfo(int number, int* state, wchar_t* url);
    // Writes the table as "Version.ini" into the folder the current
    // product's Start-menu link points at.
    virtual bool WriteVersionFile();
    // The entry from "Version.ini" beside the program; a missing file or key
    // gives an empty address and state 1 (shown).
    virtual void GetMenuStateAndURL(int number, int* state, wchar_t* url);
    // The entry of the table in memory.
    virtual void GetMenuStateAndURLEx(int number, int* state, wchar_t* url);
    virtual void SetMenuStateAndURL(int number, const int* state, const wchar_t* url);
    virtual bool ReadVersion(const wchar_t* key, wchar_t* url, int* state);
    virtual bool WriteVersion(const wchar_t* key, const wchar_t* url, const int* state,
                              const wchar_t* path);
    // The INI key of a menu number; "VANTORA_MENU_MAX_LENGTH" beyond the
    // table, an empty key for the reserved numbers 1, 2, 14 and 18.
    virtual void MenuNumberToString(int number, wchar_t* key);
    // Reads "Version.ini" from the folder of the current product's Start-menu
    // link into the table and writes "Version.bin" beside it.
    virtual void VersionTranslated();
    // The folder (with its final separator) of the file a shortcut points at.
    virtual bool GetLinkDirectroy(const wchar_t* linkPath, wchar_t* folder);
    virtual void GetVersionStartMenuPath(wchar_t* first, wchar_t* homepage, wchar_t* howTo);
    // Writes an Internet-shortcut file: "[InternetShortcut]", CR LF, then
    // "URL=" and the address with no line end, in the 8-bit code page.
    virtual void SetLinkUrl(const wchar_t* path, const wchar_t* url);
    // Copies an installer and appends the table and the trailer to the copy.
    virtual bool ProductInstallFile(const wchar_t* source, const wchar_t* target);
    // Finds the trailer near the end of an installer and loads the trailer
    // and the table before it.
    virtual bool ReadInstallFile(const wchar_t* file);
    virtual void SingInstallFile(const wchar_t* file);
    // Opens the install page (entry 13) when its state is 1.
    virtual void PopInstallURL();
    virtual int SelectProductNumber(const wchar_t* name);
    virtual int GetProductMaxNumber();
    virtual void GetProductName(int index, wchar_t* name);
    virtual void SetCurrProductName(const wchar_t* name);
    virtual void SetExeWorkDirectory();

    // The folder taken as the program's own ("Version.ini" beside the
    // program, the work directory); the running program's folder unless set.
    // Lets tools and tests point the configuration at another folder.
    void SetProgramDirectory(const QString& folder);

    // The entry table and the trailer exactly as they are written to files.
    QByteArray TableBytes() const;
    QByteArray TrailerBytes() const;

private:
    struct MenuEntry
    {
        qint32 state;
        char16_t url[kTextChars];
    };
    struct InstallTrailer
    {
        quint32 magic;
        char16_t marker[kTextChars];
        char16_t version[kTextChars];
        char16_t productName[kTextChars];
    };

    virtual void FormatProductName();
    virtual void GetStartMenuPath(wchar_t* path);
    virtual bool GetVersionFilePath(wchar_t* path);
    virtual int UnicodeToAscii(const wchar_t* text, char* out, int size);

    QString programDirectory() const;
    QString productLinkPath() const;
    QString linkFolder() const;
    void readProfileEntry(const QString& iniPath, const QString& key, QString* url,
                          int* state) const;
    void setTableBytes(const char* bytes);
    void setTrailerBytes(const char* bytes);

    MenuEntry m_entries[kMenuCount];
    InstallTrailer m_installTrailer;
    wchar_t m_productNames[kProductCount][kTextChars];
    int m_tableSize;
    QString m_programDirectory;
};

} // namespace LL

#pragma once

#include <QString>
#include <QUrl>

// What the tools menu's link entries may open. The tutorial and the FAQ are
// help pages that ship with the program (the "help" folder beside it), so
// they work offline; "Version.ini" may point them, and the review, contact
// and social entries, at web pages. Only http and https addresses are taken
// from the file: anything else (file:, javascript:, a bare program path)
// could run or reveal something on the person's computer.
class MenuLinks
{
public:
    MenuLinks() = delete;

    // The page shipped with the program for a menu entry number (3 tutorial,
    // 4 FAQ); an empty URL for every other number.
    static QUrl helpPage(int menuNumber);
    static QUrl helpPage(int menuNumber, const QString& programDir);

    // True for an absolute http or https address with a host.
    static bool isWebAddress(const QUrl& url);

    // The address an entry opens: the configured text when it is a web
    // address, otherwise the shipped help page (possibly empty). A configured
    // address that is refused is logged with one line when `reportRefusal`.
    static QUrl target(int menuNumber, const QString& configured, bool reportRefusal);
};

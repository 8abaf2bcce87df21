#pragma once

#include <QString>

// The help pages the tools menu opens when "Version.ini" gives no address
// for an entry. The shipped "Version.ini" carries the same addresses, so a
// missing or damaged file changes nothing the user can see.
class BuiltInLinks
{
public:
    BuiltInLinks() = delete;

    // The address for a tools-menu entry number (3 tutorial, 4 FAQ, 5 review,
    // 6 contact, 7 Facebook, 8 Twitter); empty for every other number.
    static QString url(int menuNumber);
};

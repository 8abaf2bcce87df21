#pragma once

#include <QString>

// The facts about this program that more than one screen or tool shows:
// its name, who makes it, and the
// version compiled in from the build.
class ProductInfo
{
public:
    ProductInfo() = delete;

    // "Vantora Pictova": the name the about box shows and the one the
    // installer tools look up in the product table.
    static QString productName();
    // Who makes it: the people in the AUTHORS file, credited together.
    static QString companyName();

    // The version the build was made with (the top-level project's version).
    static QString buildVersion();
};

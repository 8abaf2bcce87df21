#pragma once

#include <QByteArray>
#include <QList>
#include <QVector>

// Assembles HEIF files box by box from parts of encoded photos, for the
// structures libheif's encoder cannot make: grids of tiles, damaged
// references, items whose boxes contradict each other.
class HeifBuilder
{
public:
    // The coded parts of a single-image HEIC as libheif writes it.
    struct Hevc
    {
        QByteArray hvcC; // the hvcC property's body
        QByteArray data; // length-prefixed NAL units
        int width = 0;   // from its ispe
        int height = 0;
    };
    static Hevc hevcOf(const QByteArray& heic);

    // Returns the new item's id. Items stored in idat (a grid's descriptor)
    // are addressed with iloc construction method 1.
    int addItem(const char* type, const QByteArray& data, bool inIdat = false);
    // Adds an HEVC item with its hvcC and ispe properties.
    int addHevc(const Hevc& hevc, const char* type = "hvc1");
    void addProperty(int item, const char* type, const QByteArray& body, bool essential = false);
    void addReference(const char* type, int from, const QList<int>& to);
    void setPrimary(int item) { m_primary = item; }

    QByteArray build() const;

    static QByteArray ispe(int width, int height);
    static QByteArray gridDescriptor(int rows, int columns, int width, int height);
    // Finds a box by type anywhere in `data` (a byte search, good enough for
    // files this class or libheif made) and returns its body.
    static QByteArray findBox(const QByteArray& data, const char* type, bool fullBox = false);

private:
    struct Item
    {
        int id;
        QByteArray type;
        QByteArray data;
        bool inIdat;
    };
    struct Association
    {
        int item;
        int property; // 1-based
        bool essential;
    };
    struct Reference
    {
        QByteArray type;
        int from;
        QList<int> to;
    };

    QVector<Item> m_items;
    QVector<QByteArray> m_properties; // whole boxes
    QVector<Association> m_associations;
    QVector<Reference> m_references;
    int m_primary = 1;
};

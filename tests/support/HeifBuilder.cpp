#include "HeifBuilder.h"

#include <QtEndian>

#include <map>

namespace {

void u8(QByteArray& b, int v) { b.append(char(v)); }
void u16(QByteArray& b, quint16 v) { char d[2]; qToBigEndian(v, d); b.append(d, 2); }
void u32(QByteArray& b, quint32 v) { char d[4]; qToBigEndian(v, d); b.append(d, 4); }

QByteArray box(const char* type, const QByteArray& body)
{
    QByteArray b;
    u32(b, quint32(8 + body.size()));
    b.append(type, 4);
    return b + body;
}

QByteArray fullBox(const char* type, int version, const QByteArray& body, quint32 flags = 0)
{
    QByteArray b;
    u32(b, quint32(version) << 24 | flags);
    return box(type, b + body);
}

} // namespace

HeifBuilder::Hevc HeifBuilder::hevcOf(const QByteArray& heic)
{
    Hevc hevc;
    hevc.hvcC = findBox(heic, "hvcC");
    hevc.data = findBox(heic, "mdat");
    const QByteArray size = findBox(heic, "ispe", true);
    if (size.size() >= 8) {
        hevc.width = int(qFromBigEndian<quint32>(size.constData()));
        hevc.height = int(qFromBigEndian<quint32>(size.constData() + 4));
    }
    return hevc;
}

int HeifBuilder::addItem(const char* type, const QByteArray& data, bool inIdat)
{
    const int id = m_items.size() + 1;
    m_items.append({id, QByteArray(type, 4), data, inIdat});
    return id;
}

int HeifBuilder::addHevc(const Hevc& hevc, const char* type)
{
    const int id = addItem(type, hevc.data);
    addProperty(id, "hvcC", hevc.hvcC, true);
    addProperty(id, "ispe", ispe(hevc.width, hevc.height));
    return id;
}

void HeifBuilder::addProperty(int item, const char* type, const QByteArray& body, bool essential)
{
    // Equal properties are shared, as writers do for the tiles of a grid.
    const QByteArray property = box(type, body);
    int index = m_properties.indexOf(property) + 1;
    if (index == 0) {
        m_properties.append(property);
        index = m_properties.size();
    }
    m_associations.append({item, index, essential});
}

void HeifBuilder::addReference(const char* type, int from, const QList<int>& to)
{
    m_references.append({QByteArray(type, 4), from, to});
}

QByteArray HeifBuilder::build() const
{
    QByteArray ftyp("heic", 4);
    u32(ftyp, 0);
    ftyp += QByteArray("mif1heic", 8);
    ftyp = box("ftyp", ftyp);

    QByteArray idat, mdat;
    std::map<int, quint32> offsets; // into idat, or into mdat's body
    for (const Item& item : m_items) {
        QByteArray& store = item.inIdat ? idat : mdat;
        offsets[item.id] = quint32(store.size());
        store += item.data;
    }

    // The iloc offsets of mdat items depend on the size of meta, which does
    // not depend on their values: build once to measure, then for real.
    auto meta = [&](quint32 mdatBody) {
        QByteArray hdlr;
        u32(hdlr, 0);
        hdlr += "pict";
        hdlr += QByteArray(13, '\0');
        QByteArray pitm;
        u16(pitm, quint16(m_primary));
        QByteArray iinf;
        u16(iinf, quint16(m_items.size()));
        for (const Item& item : m_items) {
            QByteArray infe;
            u16(infe, quint16(item.id));
            u16(infe, 0);
            infe += item.type;
            u8(infe, 0);
            if (item.type == "mime") // the only 'mime' items tests make are XMP
                infe += QByteArray("application/rdf+xml", 20);
            // Tiles, overlay inputs and the like are not pictures of their own.
            bool hidden = false;
            for (const Reference& ref : m_references)
                hidden = hidden || (ref.type == "dimg" && ref.to.contains(item.id) && item.id != m_primary);
            iinf += fullBox("infe", 2, infe, hidden ? 1 : 0);
        }
        QByteArray iref;
        for (const Reference& ref : m_references) {
            QByteArray body;
            u16(body, quint16(ref.from));
            u16(body, quint16(ref.to.size()));
            for (int to : ref.to)
                u16(body, quint16(to));
            iref += box(ref.type.constData(), body);
        }
        QByteArray ipco;
        for (const QByteArray& property : m_properties)
            ipco += property;
        const bool wide = m_properties.size() > 127;
        QByteArray ipma;
        u32(ipma, quint32(m_items.size()));
        for (const Item& item : m_items) {
            QByteArray list;
            int count = 0;
            for (const Association& a : m_associations) {
                if (a.item == item.id) {
                    if (wide)
                        u16(list, quint16((a.essential ? 0x8000 : 0) | a.property));
                    else
                        u8(list, (a.essential ? 0x80 : 0) | a.property);
                    ++count;
                }
            }
            u16(ipma, quint16(item.id));
            u8(ipma, count);
            ipma += list;
        }
        QByteArray iloc;
        u8(iloc, 0x44); // 4-byte offsets and lengths
        u8(iloc, 0x00); // no base offset, no index
        u16(iloc, quint16(m_items.size()));
        for (const Item& item : m_items) {
            u16(iloc, quint16(item.id));
            u16(iloc, item.inIdat ? 1 : 0);
            u16(iloc, 0);
            u16(iloc, 1);
            u32(iloc, (item.inIdat ? 0 : mdatBody) + offsets[item.id]);
            u32(iloc, quint32(item.data.size()));
        }
        QByteArray body = fullBox("hdlr", 0, hdlr) + fullBox("pitm", 0, pitm) + fullBox("iinf", 0, iinf)
                          + box("iprp", box("ipco", ipco) + fullBox("ipma", 0, ipma, wide ? 1 : 0)) + fullBox("iloc", 1, iloc);
        if (!m_references.isEmpty())
            body += fullBox("iref", 0, iref);
        if (!idat.isEmpty())
            body += box("idat", idat);
        return fullBox("meta", 0, body);
    };
    const quint32 mdatBody = quint32(ftyp.size() + meta(0).size() + 8);
    return ftyp + meta(mdatBody) + box("mdat", mdat);
}

QByteArray HeifBuilder::ispe(int width, int height)
{
    QByteArray b(4, '\0');
    u32(b, quint32(width));
    u32(b, quint32(height));
    return b;
}

QByteArray HeifBuilder::gridDescriptor(int rows, int columns, int width, int height)
{
    QByteArray b;
    u8(b, 0);
    u8(b, 0);
    u8(b, rows - 1);
    u8(b, columns - 1);
    u16(b, quint16(width));
    u16(b, quint16(height));
    return b;
}

QByteArray HeifBuilder::findBox(const QByteArray& data, const char* type, bool isFullBox)
{
    const int at = data.indexOf(QByteArray(type, 4));
    if (at < 4)
        return {};
    const int size = int(qFromBigEndian<quint32>(data.constData() + at - 4));
    const int skip = isFullBox ? 4 : 0;
    if (size < 8 + skip || at - 4 + size > data.size())
        return {};
    return data.mid(at + 4 + skip, size - 8 - skip);
}

// libFuzzer's custom mutator for the heif2jpg target: half the time it
// rewires the input's reference graph, otherwise it leaves the input to
// libFuzzer's own byte mutations. Byte flips almost never turn a valid
// 'iref' box into a loop, deep nesting or a picture named twice (the
// target ran for hours without reaching one); rewiring an entry in place
// gets there in a few steps, and the box stays well formed, so the file
// reaches the checks that must refuse it rather than a parse error.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

namespace {

uint32_t read(const uint8_t* p, int bytes)
{
    uint32_t v = 0;
    for (int i = 0; i < bytes; ++i)
        v = (v << 8) | p[i];
    return v;
}

void write(uint8_t* p, int bytes, uint32_t v)
{
    for (int i = bytes - 1; i >= 0; --i, v >>= 8)
        p[i] = uint8_t(v);
}

// One entry of an 'iref' box: where its type, source and targets are.
struct Entry
{
    size_t type = 0;
    size_t from = 0;
    std::vector<size_t> to;
};

// The entries of the first 'iref' box found; `idBytes` gets 2 or 4.
std::vector<Entry> entriesOf(const uint8_t* data, size_t size, int& idBytes)
{
    std::vector<Entry> entries;
    static const uint8_t name[] = {'i', 'r', 'e', 'f'};
    const uint8_t* at = std::search(data, data + size, name, name + 4);
    if (at == data + size || at < data + 4)
        return entries;
    const size_t start = size_t(at - data) - 4;
    const size_t end = start + read(data + start, 4);
    if (end > size || end < start + 12)
        return entries;
    idBytes = data[start + 8] == 0 ? 2 : 4;
    for (size_t box = start + 12; box + 8 + size_t(idBytes) + 2 <= end;) {
        const size_t boxEnd = box + read(data + box, 4);
        if (boxEnd > end || boxEnd < box + 8)
            break;
        Entry entry;
        entry.type = box + 4;
        entry.from = box + 8;
        const size_t count = read(data + entry.from + size_t(idBytes), 2);
        for (size_t i = 0, p = entry.from + size_t(idBytes) + 2; i < count && p + size_t(idBytes) <= boxEnd; ++i, p += size_t(idBytes))
            entry.to.push_back(p);
        entries.push_back(entry);
        box = boxEnd;
    }
    return entries;
}

// Points one reference somewhere else: a target at another item the graph
// names (itself, an input of its own), a source swapped with a target, or
// the entry made a reference of another kind.
bool rewire(uint8_t* data, size_t size, std::minstd_rand& random)
{
    int idBytes = 2;
    const std::vector<Entry> entries = entriesOf(data, size, idBytes);
    if (entries.empty())
        return false;
    std::vector<uint32_t> ids;
    for (const Entry& entry : entries) {
        ids.push_back(read(data + entry.from, idBytes));
        for (size_t to : entry.to)
            ids.push_back(read(data + to, idBytes));
    }
    const Entry& entry = entries[random() % entries.size()];
    static const char* const kinds[] = {"dimg", "auxl", "thmb", "cdsc", "base", "prem"};
    switch (random() % 3) {
    case 0:
        if (entry.to.empty())
            return false;
        write(data + entry.to[random() % entry.to.size()], idBytes, ids[random() % ids.size()]);
        return true;
    case 1: {
        if (entry.to.empty())
            return false;
        const size_t to = entry.to[random() % entry.to.size()];
        const uint32_t from = read(data + entry.from, idBytes);
        write(data + entry.from, idBytes, read(data + to, idBytes));
        write(data + to, idBytes, from);
        return true;
    }
    default:
        std::memcpy(data + entry.type, kinds[random() % 6], 4);
        return true;
    }
}

} // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned int seed)
{
    std::minstd_rand random(seed);
    if (random() % 2 == 0 && rewire(data, size, random))
        return size;
    return LLVMFuzzerMutate(data, size, maxSize);
}

#include "DamageCheck.h"

#include "HeifMeta.h"

#include <algorithm>
#include <map>
#include <vector>

namespace decodex {

namespace {

constexpr uint32_t kDimg = BoxReader::fourcc("dimg");
constexpr uint32_t kAuxl = BoxReader::fourcc("auxl");
constexpr uint32_t kPrem = BoxReader::fourcc("prem");
constexpr uint32_t kThmb = BoxReader::fourcc("thmb");

// The derived images libheif 1.15 decodes by decoding their inputs.
bool decodesInputs(uint32_t type)
{
    return type == BoxReader::fourcc("grid") || type == BoxReader::fourcc("iovl") || type == BoxReader::fourcc("iden");
}

// Items as nodes 0..n-1 and directed edges between them. Every walk below
// is a loop, not a recursion: the files it looks at are the ones that
// would overflow a stack. (A topological order is a few lines; a graph
// library would be a new dependency of the decoding library for them.)
class Graph
{
public:
    size_t node(uint32_t item)
    {
        const auto it = m_nodes.emplace(item, m_edges.size());
        if (it.second)
            m_edges.emplace_back();
        return it.first->second;
    }
    void edge(uint32_t from, uint32_t to)
    {
        const size_t a = node(from), b = node(to);
        m_edges[a].push_back(b);
    }

    // Kahn's order: every node after all nodes with an edge to it. Shorter
    // than the graph when there is a loop.
    std::vector<size_t> order() const
    {
        std::vector<size_t> incoming(m_edges.size(), 0);
        for (const auto& targets : m_edges)
            for (size_t to : targets)
                ++incoming[to];
        std::vector<size_t> result;
        for (size_t n = 0; n < m_edges.size(); ++n)
            if (incoming[n] == 0)
                result.push_back(n);
        for (size_t i = 0; i < result.size(); ++i)
            for (size_t to : m_edges[result[i]])
                if (--incoming[to] == 0)
                    result.push_back(to);
        return result;
    }
    bool hasLoop() const { return order().size() != m_edges.size(); }

    // The most edges on one path, the graph being free of loops.
    int longestPath() const
    {
        std::vector<int> depth(m_edges.size(), 0);
        int longest = 0;
        for (size_t n : order())
            for (size_t to : m_edges[n]) {
                depth[to] = std::max(depth[to], depth[n] + 1);
                longest = std::max(longest, depth[to]);
            }
        return longest;
    }

    // Whether some node is reached more than once from `roots` together,
    // counting every path (an input named twice is two paths).
    bool reachedTwice(const std::vector<size_t>& roots) const
    {
        std::vector<int> paths(m_edges.size(), 0); // saturates at 2
        for (size_t root : roots)
            paths[root] = std::min(paths[root] + 1, 2);
        for (size_t n : order()) {
            if (paths[n] >= 2)
                return true;
            for (size_t to : m_edges[n])
                paths[to] = std::min(paths[to] + paths[n], 2);
        }
        return false;
    }

private:
    std::map<uint32_t, size_t> m_nodes;
    std::vector<std::vector<size_t>> m_edges;
};

// Every reference, pointing the way it is written, except 'prem', which
// points from an image to its alpha and so back along the alpha's 'auxl'.
Graph referenceGraph(const HeifMeta& meta)
{
    Graph graph;
    for (const HeifMeta::Reference& reference : meta.references)
        for (uint32_t to : reference.to) {
            if (reference.type == kPrem)
                graph.edge(to, reference.from);
            else
                graph.edge(reference.from, to);
        }
    return graph;
}

// From each image to what decoding it decodes: a derived image's inputs,
// and its auxiliary images (alpha, and the gain map this library decodes).
Graph decodeGraph(const HeifMeta& meta)
{
    Graph graph;
    for (const HeifMeta::Reference& reference : meta.references) {
        if (reference.type == kDimg && decodesInputs(meta.itemType(reference.from))) {
            for (uint32_t input : reference.to)
                graph.edge(reference.from, input);
        } else if (reference.type == kAuxl) {
            for (uint32_t master : reference.to)
                graph.edge(master, reference.from);
        }
    }
    return graph;
}

// The primary image and its thumbnails: what a conversion decodes.
std::vector<size_t> decodedRoots(const HeifMeta& meta, Graph& graph)
{
    std::vector<size_t> roots{graph.node(meta.primary)};
    for (const HeifMeta::Reference& reference : meta.references)
        if (reference.type == kThmb && std::count(reference.to.begin(), reference.to.end(), meta.primary))
            roots.push_back(graph.node(reference.from));
    return roots;
}

} // namespace

DamageCheck::Damage DamageCheck::find(const HeifMeta& meta)
{
    if (!meta.extentsInside())
        return Damage::ExtentOutsideFile;
    if (referenceGraph(meta).hasLoop())
        return Damage::ReferenceLoop;
    Graph decoding = decodeGraph(meta);
    if (decoding.hasLoop())
        return Damage::ReferenceLoop;
    if (decoding.longestPath() > kMaxDepth)
        return Damage::TooDeep;
    if (decoding.reachedTwice(decodedRoots(meta, decoding)))
        return Damage::RepeatedPicture;
    return Damage::None;
}

} // namespace decodex

// SPDX-License-Identifier: MIT
// Blobs from the pairs of complete clusters, by the engine's own builders.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "host/stream/pair_clusters.h"
#include "narvoassem/blobstorage.h"
#include "narvoassem/convparam.h"

namespace narvo
{

/// The builder of one band of columns.
///
/// The engine lists pairs strip by strip, down the rows of each strip, and groups them in that order. A walk that looks
/// for neighbours in the next strip ends at the first pair there that lies more than 16 columns on, however far above:
/// in the image's order that is the first pair in one of the last two columns of the strip. The builder remembers these
/// and puts them into the list again, out of reach of all others, so that walks end where they would in a list of the
/// whole image.
class BlobAssembly
{
public:
    /// `block`: parameters without an image. `unit`: columns that the engine lists one after the other.
    BlobAssembly(const CConvParam& block, bool vertical, int left, int unit);

    int UnitOf(int x) const { return (x - m_left) / m_unit; }
    /// Every pair that may come into a blob, in the engine's order, before Build gets it.
    void Note(const OpenPair& pair);

    /// Takes the blobs; their rows count from `row`.
    using TakeBlob = std::function<void(std::int64_t row, const CDefectBlob& blob)>;
    /// Takes the pairs as they stand in the end.
    using TakePair = std::function<void(std::int64_t row, const CDefectPair& pair)>;
    /// Builds the blobs of clusters, whose pairs stand cluster by cluster.
    void Build(std::span<const OpenPair> pairs, const TakeBlob& takeBlob, const TakePair& takePair);

private:
    /// The pairs of a strip and polarity that end walks from the strip before.
    struct WalkEnds
    {
        static constexpr std::uint64_t nNone = ~std::uint64_t{0};
        std::uint64_t order[2] = {nNone, nNone}; ///< the first in the last two columns, the first in the last one
        int x[2] = {0, 0};
    };
    /// A pair's place in the engine's order: by strip, then by arrival.
    struct Entry
    {
        Entry() = default;
        explicit Entry(const OpenPair& one)
            : place(static_cast<std::uint64_t>(one.unit) << nArrivalBits | one.order), pair(&one)
        {
        }

        std::uint64_t place = 0;
        const OpenPair* pair = nullptr;

        bool operator<(const Entry& other) const { return place < other.place; }
    };
    static constexpr int nArrivalBits = 52;
    void BuildSome(std::span<const OpenPair> pairs, const TakeBlob& takeBlob, const TakePair& takePair);
    void ListWalkEnds();
    WalkEnds& EndsOf(int unit, int type) { return m_ends[static_cast<std::size_t>(unit * 2 + type)]; }

    bool m_vertical;
    int m_left;
    int m_unit;
    CBlobStorage m_store;
    std::vector<WalkEnds> m_ends;
    std::vector<Entry> m_own;         ///< pairs to be built, in the engine's order
    std::vector<Entry> m_ending;      ///< walk ends, in that order
    std::vector<Entry> m_list;        ///< both, as they go into the store
    std::vector<OpenPair> m_walkEnds; ///< of these, those that only end walks
};

} // namespace narvo

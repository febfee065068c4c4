// SPDX-License-Identifier: MIT
// Random streams, and what one call for the whole image says of the same rows.
#pragma once

#include <string>
#include <vector>

#include "host/stream/strip_stream.h"
#include "support/random.h"

namespace narvo::test
{

/// What a stream reported, a line for each blob and pair, in an order of its own.
struct StreamLines
{
    std::vector<std::string> blobs;
    std::vector<std::string> pairs;
    void Sort();
    bool operator==(const StreamLines& other) const = default;
};

/// Keeps all that a stream reports.
class LineSink : public StreamSink
{
public:
    void OnBlob(const StreamBlob& blob) override;
    void OnPair(const StreamPair& pair) override;
    StreamLines lines;
};

/// One random stream: a recipe, an image and the pieces that it comes in.
struct StreamCase
{
    Recipe recipe;
    GreyImage image;
    StreamSettings settings;
    std::vector<int> pieces; ///< rows of each
};

StreamCase RandomStreamCase(CRandom& random);

/// Blobs and pairs of one call for the whole image. `complete` says whether the engine had room for all.
StreamLines InspectWhole(const StreamCase& one, bool& complete);

/// The same from a stream.
StreamLines InspectStream(const StreamCase& one, StreamCounts& counts);

} // namespace narvo::test

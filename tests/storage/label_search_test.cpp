// SPDX-License-Identifier: MIT
// Blobs by their labels: the chains of long lists find what the walk over the blobs finds.
#include "narvoassem/storage/blobs/label_search.h"

#include <vector>

#include "gtest/gtest.h"

#include "narvoassem/defectblob.h"

namespace
{

TEST(LabelSearch, EarlierBlobsWhoseIdIsNoLabelAreInNoChain)
{
    std::vector<CDefectBlob> blobs(7);
    const int ids[] = {5, -1, 5, 300, 80, 5};
    for (std::size_t i = 0; i < std::size(ids); ++i)
        blobs[i].nBlobId = ids[i];
    blobs[6].nBlobId = 5; // opened by this build
    for (const int nLabels : {64, 80, 81, 200})
    {
        narvo::engine::CLabelSearch search;
        search.Init(blobs.data(), 6, nLabels);
        search.NoteOpened(5, 6);
        ASSERT_EQ(search.FindNewest(5, 7), 6) << nLabels;
        ASSERT_EQ(search.FindOlder(5, 6), 5) << nLabels;
        ASSERT_EQ(search.FindOlder(5, 5), 2) << nLabels;
        ASSERT_EQ(search.FindOlder(5, 2), 0) << nLabels;
        ASSERT_EQ(search.FindOlder(5, 0), -1) << nLabels;
    }
    narvo::engine::CLabelSearch search;
    search.Init(blobs.data(), 6, 81);
    search.NoteOpened(80, 6);
    EXPECT_EQ(search.FindOlder(80, 6), 4);
    EXPECT_EQ(search.FindOlder(80, 4), -1);
}

} // namespace

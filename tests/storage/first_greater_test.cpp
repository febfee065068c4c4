// SPDX-License-Identifier: MIT
// The search for the first entry above a limit against a plain walk, for every length up to two full trees.
#include "narvoassem/storage/blobs/first_greater.h"

#include <random>
#include <vector>

#include "gtest/gtest.h"

namespace
{

using narvo::engine::CFirstGreater;

int PlainFind(const std::vector<int>& values, int nFrom, int nLimit)
{
    for (int i = nFrom; i < static_cast<int>(values.size()); ++i)
        if (values[static_cast<std::size_t>(i)] > nLimit)
            return i;
    return static_cast<int>(values.size());
}

TEST(FirstGreater, FindsWhatAWalkFindsWhileEntriesAreTakenOut)
{
    std::mt19937 random(11);
    for (int nCount = 1; nCount <= 64; ++nCount)
    {
        std::vector<int> values(static_cast<std::size_t>(nCount));
        for (int& nValue : values)
            nValue = static_cast<int>(random() % 50);
        std::vector<int> words(CFirstGreater::GetWords(nCount), 1000); // as memory that was used before
        CFirstGreater tree(words.data(), nCount);
        for (int i = 0; i < nCount; ++i)
            tree.Set(i, values[static_cast<std::size_t>(i)]);
        tree.Finish();
        for (int nLeft = nCount; nLeft > 0; --nLeft)
        {
            for (int nFrom = 0; nFrom <= nCount; ++nFrom)
                for (const int nLimit : {-1, 10, 25, 48, 49})
                    ASSERT_EQ(tree.Find(nFrom, nLimit), PlainFind(values, nFrom, nLimit))
                        << nCount << " entries from " << nFrom << " above " << nLimit;
            const int nOut = static_cast<int>(random() % static_cast<unsigned>(nCount));
            tree.TakeOut(nOut);
            values[static_cast<std::size_t>(nOut)] = CFirstGreater::nOut;
        }
    }
}

} // namespace

// SPDX-License-Identifier: MIT
// Blocks of any size, with tables as long as their check says and no longer.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/check/block_check.h"
#include "narvoassem/base/truncate.h"
#include "narvoassem/narvoassem.h"
#include "soak/case_entry.h"
#include "support/random.h"
#include "support/sparse_memory.h"

namespace narvo::test
{

constexpr BlockCall CallOf(Entry entry)
{
    switch (entry)
    {
    case Entry::RectAsg:
        return BlockCall_RectAsg;
    case Entry::Asg:
        return BlockCall_Asg;
    case Entry::Trapezium:
        return BlockCall_Trapezium;
    case Entry::EngineRect:
        return BlockCall_EngineRect;
    default:
        return BlockCall_Rect;
    }
}

/// Memory for each table of a block, of the size that the check gives, between guard pages.
class ExactTables
{
public:
    explicit ExactTables(bool flushBack) : m_flushBack(flushBack) {}

    /// Points the block at memory of its own for everything that is read, and fills it.
    void Provide(const BlockCheck& check, CRandom& random, CConvParam& param)
    {
        m_memory.clear();
        const bool vertical = param.nDirection != 0;
        for (const TableRead& read : check.reads)
        {
            if (read.field == "pImage")
                Fill<unsigned char>(read, param.pImage,
                                    [&] { return static_cast<unsigned char>(random.Int(90, 104)); });
            else if (read.field == "pFreeFormMask")
            {
                unsigned char* mask = nullptr;
                Fill<unsigned char>(read, mask, [] { return static_cast<unsigned char>(1); });
                param.pFreeFormMask = mask;
            }
            else if (read.field == "pScanPitchTable")
                Fill<int>(read, param.pScanPitchTable, [&] { return random.Int(200, 260); });
            else if (read.field == "pTiltScanTable")
                Fill<int>(read, param.pTiltScanTable, [&] { return random.Int(0, 9); });
            else if (read.field == "pTiltConvTable")
                Fill<int>(read, param.pTiltConvTable, [&] { return random.Int(200, 260); });
            else if (read.field == "pConvPitchTable")
                Fill<unsigned short>(read, param.pConvPitchTable,
                                     [&] { return static_cast<unsigned short>(random.Int(12, 18)); });
            else if (read.field == "pConvWeightNear")
                Fill<short>(read, param.pConvWeightNear, [] { return static_cast<short>(12); });
            else if (read.field == "pConvWeightFar")
                Fill<short>(read, param.pConvWeightFar, [] { return static_cast<short>(4); });
            else if (read.field == "pZoneOriginTable")
                FillGrid(read, param, random, vertical);
            else if (short** map = MapOf(param, read.field); map != nullptr)
                Fill<short>(read, *map, [&] { return static_cast<short>(random.Int(0, 14)); });
            else
                FillZones(read, random, param);
        }
    }

private:
    template <class Element>
    Element* Take(const TableRead& read)
    {
        const auto bytes = static_cast<std::uint64_t>(read.before + read.count) * sizeof(Element);
        m_memory.push_back(std::make_unique<CSparseMemory>(std::max<std::uint64_t>(bytes, 1), m_flushBack));
        m_memory.back()->Open(0, bytes);
        return reinterpret_cast<Element*>(m_memory.back()->Data());
    }

    template <class Element, class Value, class Target>
    void Fill(const TableRead& read, Target*& target, Value value)
    {
        Element* const data = Take<Element>(read);
        std::generate(data, data + read.before + read.count, value);
        target = data + read.before;
    }

    /// Cells as the block declares them, the region's corner anywhere in the first used one.
    void FillGrid(const TableRead& read, CConvParam& param, CRandom& random, bool vertical)
    {
        const int ints = read.element.find("skip") != std::string::npos ? 3 : 2;
        const int width = std::max(engine::TruncateToInt(param.GetZoneConvPitch()), 1);
        const int height = std::max(engine::TruncateToInt(param.GetZoneScanPitch()), 1);
        const std::int64_t records = read.count / ints;
        const std::vector<int> across = Origins(random, param.GetZoneConvPitch(), param.nZoneColumns);
        const std::vector<int> down = Origins(random, param.GetZoneScanPitch(), records / param.nZoneColumns + 2);
        const int left = param.rtInspect.left - random.Int(0, width - 1);
        const int top = param.rtInspect.top - random.Int(0, height - 1) - (vertical ? down[1] : 0);
        int* const data = Take<int>(read);
        for (std::int64_t i = 0; i < records; ++i)
        {
            data[i * ints] = left + across[static_cast<std::size_t>(i % param.nZoneColumns)];
            data[i * ints + 1] = top + down[static_cast<std::size_t>(i / param.nZoneColumns)];
            if (ints == 3)
                data[i * ints + 2] = random.OneIn(4) ? 1 : 0;
        }
        param.pZoneOriginTable = data;
    }

    /// Places a pitch apart, each distance rounded to whole pixels either way.
    static std::vector<int> Origins(CRandom& random, double pitch, std::int64_t count)
    {
        const int step = std::max(engine::TruncateToInt(pitch), 1);
        const bool fraction = pitch > step;
        std::vector<int> places(1);
        while (static_cast<std::int64_t>(places.size()) < count)
            places.push_back(places.back() + step + (fraction && random.OneIn(2) ? 1 : 0));
        return places;
    }

    static short** MapOf(CConvParam& param, const std::string& field)
    {
        const std::map<std::string, short* CConvParam::*> maps = {
            {"pThresholdOffsetMap", &CConvParam::pThresholdOffsetMap},
            {"pThresholdGainMap", &CConvParam::pThresholdGainMap},
            {"pZoneIndexMap", &CConvParam::pZoneIndexMap},
            {"pThresholdKneeMap", &CConvParam::pThresholdKneeMap},
            {"pThresholdOffsetMap2", &CConvParam::pThresholdOffsetMap2},
            {"pThresholdGainMap2", &CConvParam::pThresholdGainMap2},
            {"pClassIdMap", &CConvParam::pClassIdMap}};
        const auto found = maps.find(field);
        return found == maps.end() ? nullptr : &(param.*found->second);
    }

    void FillZones(const TableRead& read, CRandom& random, CConvParam& param)
    {
        const std::map<std::string, int* CConvParam::*> tables = {
            {"pFilterOffset", &CConvParam::pFilterOffset},   {"pFilterGain", &CConvParam::pFilterGain},
            {"pFilterOffset1", &CConvParam::pFilterOffset1}, {"pFilterGain1", &CConvParam::pFilterGain1},
            {"pTspTable", &CConvParam::pTspTable},           {"pTspTable2", &CConvParam::pTspTable2}};
        if (const auto found = tables.find(read.field); found != tables.end())
            Fill<int>(read, param.*found->second, [&] { return random.Int(0, 12); });
        else // points and texts stay the scene's, which hold as many
            EXPECT_TRUE(read.field == "pFreeFormPoint" || read.field == "pVeriPitchString") << read.field;
    }

    bool m_flushBack;
    std::vector<std::unique_ptr<CSparseMemory>> m_memory;
};

/// Changes the sizes of a valid block; a region may stay that is not compared.
inline void Vary(CRandom& random, CConvParam& param)
{
    param.nImageWidth = random.OneIn(12) ? random.Int(2100, 6400) : random.Int(60, 300);
    param.nImageHeight = random.Int(60, 200);
    const int left = random.OneIn(2) ? 0 : random.Int(0, 20);
    const int top = random.OneIn(2) ? 0 : random.Int(0, 20);
    param.rtInspect = CRect(left, top, param.nImageWidth - (random.OneIn(2) ? 0 : random.Int(0, 20)),
                            param.nImageHeight - (random.OneIn(2) ? 0 : random.Int(0, 20)));
    param.dConvPitch = random.Int(6 * 16, 20 * 16) / 16.0;
    param.dScanPitch = random.Int(4 * 16, 20 * 16) / 16.0;
    param.nZoneConvMultiple = random.Int(1, 4);
    param.nZoneScanMultiple = random.Int(1, 4);
    param.nZoneMapStride = random.Int(0, 300);
    param.nZoneColumns = random.Int(0, 60) + (param.rtInspect.Width() + 15) / 16;
    CPadPoint(&corners)[4] = param.trapInspect.ptCorner;
    const int right = param.nImageWidth;
    const int bottom = param.nImageHeight;
    if (param.nDirection == 1)
    {
        corners[0] = CPadPoint(0, random.Int(0, 9));
        corners[1] = CPadPoint(0, bottom - random.Int(0, 9));
        corners[2] = CPadPoint(right, bottom - random.Int(0, 9));
        corners[3] = CPadPoint(right, random.Int(0, 9));
    }
    else
    {
        corners[0] = CPadPoint(random.Int(0, 9), 0);
        corners[1] = CPadPoint(right - random.Int(0, 9), 0);
        corners[2] = CPadPoint(right - random.Int(0, 9), bottom);
        corners[3] = CPadPoint(random.Int(0, 9), bottom);
    }
}

} // namespace narvo::test

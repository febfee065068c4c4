// SPDX-License-Identifier: MIT
// Changes recipes where bytes would only break their text: fields of the table at and around the ends of their ranges,
// lists and shapes, removed members. Every fourth change is left to the fuzzer's own bytes.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

#include <nlohmann/json.hpp>

#include "host/recipe/recipe_fields.h"
#include "support/random.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* pBytes, std::size_t nBytes, std::size_t nMost);

namespace
{

using namespace narvo;
using narvo::test::CRandom;
using nlohmann::json;

constexpr std::size_t nHead = 3; ///< size and kind of the image

/// The place of a dotted path; objects on the way are made.
json& At(json& document, std::string_view strPath)
{
    json* pPlace = &document;
    while (!strPath.empty())
    {
        const std::size_t nDot = std::min(strPath.find('.'), strPath.size());
        if (!pPlace->is_object())
            *pPlace = json::object();
        pPlace = &(*pPlace)[std::string(strPath.substr(0, nDot))];
        strPath.remove_prefix(std::min(nDot + 1, strPath.size()));
    }
    return *pPlace;
}

json NumberNear(CRandom& random, double dLow, double dHigh, bool bWhole)
{
    double dValue = random.Pick({dLow, dHigh, dLow - 1, dHigh + 1, (dLow + dHigh) / 2, 0.0, 1e9, -1e9});
    if (!random.OneIn(4))
        dValue = dLow + (std::min(dHigh, dLow + 60) - dLow) * static_cast<double>(random.Int(0, 64)) / 64.0;
    return bWhole ? json(static_cast<std::int64_t>(dValue)) : json(dValue);
}

template <typename Owner>
json ValueFor(CRandom& random, const Field<Owner>& field)
{
    if (random.OneIn(40))
        return random.OneIn(2) ? json() : json("text");
    return std::visit(
        [&](const auto& member) -> json
        {
            using Member = std::decay_t<decltype(member)>;
            if constexpr (std::is_same_v<Member, int Owner::*> || std::is_same_v<Member, double Owner::*>)
                return NumberNear(random, field.low, field.high, std::is_same_v<Member, int Owner::*>);
            else if constexpr (std::is_same_v<Member, bool Owner::*>)
                return random.OneIn(2);
            else if constexpr (std::is_same_v<Member, std::string Owner::*>)
                return random.OneIn(2) ? json("") : json("painted.png");
            else
                return std::string(
                    member.words[static_cast<std::size_t>(random.Int(0, static_cast<int>(member.words.size()) - 1))]);
        },
        field.member);
}

json RandomRect(CRandom& random, int nWidth, int nHeight)
{
    const int nLeft = random.Int(-1, nWidth);
    const int nTop = random.Int(-1, nHeight);
    return {{"left", nLeft},
            {"top", nTop},
            {"right", random.OneIn(3) ? nWidth : random.Int(nLeft, nWidth + 1)},
            {"bottom", random.OneIn(3) ? nHeight : random.Int(nTop, nHeight + 1)}};
}

json RandomRegion(CRandom& random, int nWidth, int nHeight)
{
    if (random.OneIn(2))
        return RandomRect(random, nWidth, nHeight);
    json region = {{"shape", random.OneIn(2) ? "polygon" : "trapezium"}, {"points", json::array()}};
    for (int i = random.Int(2, 9); i > 0; --i)
        region["points"].push_back({random.Int(0, nWidth), random.Int(0, nHeight)});
    if (random.OneIn(3))
        region["points"] = {{nWidth / 4, 2}, {nWidth - 3, 4}, {nWidth - 1, nHeight - 2}, {1, nHeight - 1}};
    if (random.OneIn(4))
        region["columns"] = {random.Int(0, nWidth), random.Int(0, nWidth)};
    return region;
}

json RandomTable(CRandom& random, int nExtent)
{
    json table = json::array();
    const int nCount = random.OneIn(8) ? random.Int(0, 20) : (nExtent + 15) / 16;
    for (int i = 0; i < nCount; ++i)
        table.push_back(random.Int(10, 40) + random.Int(0, 15) / 16.0);
    return table;
}

void ChangeStructure(CRandom& random, json& document, int nWidth, int nHeight)
{
    switch (random.Int(0, 10))
    {
    case 0:
        document["region"] = RandomRegion(random, nWidth, nHeight);
        break;
    case 1:
        document["margin_frame"] = RandomRect(random, nWidth, nHeight);
        break;
    case 2:
        document["dead_zones"].push_back(RandomRect(random, nWidth, nHeight));
        break;
    case 3:
        At(document, "zones.skip").push_back({random.Int(-2, 9), random.Int(-2, 9)});
        break;
    case 4:
        At(document, "tables.scan_pitch") = RandomTable(random, nHeight);
        break;
    case 5:
        At(document, "tables.conv_pitch") = RandomTable(random, nWidth);
        break;
    case 6:
        document["regions"].push_back({{"region", RandomRegion(random, nWidth, nHeight)}});
        break;
    case 7:
    {
        json measure = {{"fold", 1 << random.Int(0, 3)}, {"size", random.Int(1, 64)}};
        for (int i = random.Int(0, 4); i > 0; --i)
        {
            const auto fields = TextureFields();
            const auto& field = fields[static_cast<std::size_t>(random.Int(0, static_cast<int>(fields.size()) - 1))];
            At(measure, field.path) = ValueFor(random, field);
        }
        At(document, "texture.features").push_back(measure);
        break;
    }
    case 8:
    {
        const json value = random.OneIn(2) ? NumberNear(random, 0, 2048, random.OneIn(2)) : json(random.OneIn(2));
        At(document, "camera.features").push_back({{random.OneIn(8) ? "2 Wide" : "Width", value}});
        break;
    }
    default:
    {
        json zone = {{"index", random.Int(0, 15)}};
        for (int i = random.Int(0, 4); i > 0; --i)
        {
            const auto fields = ZoneFields();
            const auto& field = fields[static_cast<std::size_t>(random.Int(0, static_cast<int>(fields.size()) - 1))];
            At(zone, field.path) = ValueFor(random, field);
        }
        At(document, "zones.list").push_back(zone);
        break;
    }
    }
}

/// Removes a member, at any depth.
void RemoveMember(CRandom& random, json& place)
{
    if (!place.is_structured() || place.empty())
        return;
    auto member = place.begin();
    std::advance(member, random.Int(0, static_cast<int>(place.size()) - 1));
    if (member->is_structured() && !member->empty() && !random.OneIn(3))
        RemoveMember(random, *member);
    else
        place.erase(member);
}

void Change(CRandom& random, json& document, int nWidth, int nHeight)
{
    const auto fields = RecipeFields();
    const auto& field = fields[static_cast<std::size_t>(random.Int(0, static_cast<int>(fields.size()) - 1))];
    switch (random.Int(0, 7))
    {
    case 0:
        RemoveMember(random, document);
        break;
    case 1:
    case 2:
        ChangeStructure(random, document, nWidth, nHeight);
        break;
    case 3:
        document["mode"] = random.Pick({"zone", "pixel", "float", "binarise", "average", "asg", "texture", "lattice"});
        break;
    default:
        At(document, field.path) = ValueFor(random, field);
        break;
    }
}

} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* pBytes, std::size_t nBytes, std::size_t nMost,
                                               unsigned nSeed)
{
    CRandom random(nSeed);
    if (nBytes <= nHead || random.OneIn(4))
        return LLVMFuzzerMutate(pBytes, nBytes, nMost);
    const std::string strAll(reinterpret_cast<const char*>(pBytes) + nHead, nBytes - nHead);
    const std::size_t nText = std::min(strAll.find('\0'), strAll.size());
    json document = json::parse(strAll.substr(0, nText), nullptr, false);
    if (!document.is_object())
        return LLVMFuzzerMutate(pBytes, nBytes, nMost);
    try
    {
        for (int i = random.Int(1, 3); i > 0; --i)
            Change(random, document, 1 + pBytes[0], 1 + pBytes[1]);
    }
    catch (const json::exception&)
    {
        // Not a list: the changes so far are enough.
    }
    const std::string strNew = document.dump(-1, ' ', false, json::error_handler_t::replace) + strAll.substr(nText);
    if (nHead + strNew.size() > nMost)
        return LLVMFuzzerMutate(pBytes, nBytes, nMost);
    std::memcpy(pBytes + nHead, strNew.data(), strNew.size());
    return nHead + strNew.size();
}

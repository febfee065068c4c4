// SPDX-License-Identifier: MIT
// The words of the sentences.
#include "host/explain/explain_sentences.h"

#include <algorithm>
#include <cstdlib>

#include "host/problem.h"

namespace narvo
{

namespace
{

std::string Grey(const Explanation& told, int value)
{
    if (told.kernel.nUnits == 1)
        return std::to_string(value);
    return FormatNumber(static_cast<double>(value * 100 / told.kernel.nUnits) / 100.0);
}

/// The two pixels that a plain reference lies between; nothing where it is made of more.
void TellSamples(Explanation& told, const CPixelTrace& pixel, const CConvParam& param, const GreyImage& image)
{
    const int fraction = pixel.nPitch16 & 15;
    if (told.kernel.nUnits != 1 || fraction == 0 || param.bAverage2by2 != 0 || param.fVtdPitch != 0.0F ||
        (told.horizontal && param.pConvPitchTable != nullptr))
        return;
    const int whole = pixel.nPitch16 >> 4;
    const auto place = [&](int by)
    {
        return told.horizontal ? CPoint(pixel.ptPlace.x + by, pixel.ptPlace.y)
                               : CPoint(pixel.ptPlace.x, pixel.ptPlace.y + by);
    };
    const CPoint near = place(whole);
    const CPoint far = place(whole + 1);
    if (far.x >= image.Width() || far.y >= image.Height())
        return;
    told.why.push_back("That reference lies " + std::to_string(fraction) + "/16 of the way from " +
                       std::to_string(image.Row(near.y)[near.x]) + " at " + At(near) + " to " +
                       std::to_string(image.Row(far.y)[far.x]) + " at " + At(far) + ".");
}

} // namespace

std::string At(int x, int y)
{
    return std::to_string(x) + ", " + std::to_string(y);
}

std::string At(const CPoint& place)
{
    return At(place.x, place.y);
}

std::string BoundsText(const CRect& box)
{
    return At(box.left, box.top) + " to " + At(box.right - 1, box.bottom - 1);
}

std::string BandName(int band)
{
    return band == DefectPos_First ? "first" : band == DefectPos_Last ? "last" : "middle";
}

void TellLink(Explanation& told, const CChainLink& link, const std::string& who, const CConvParam& param,
              const GreyImage& image)
{
    const bool own = &link == told.Own();
    const CPixelTrace& pixel = link.pixel;
    std::string text = who + " is compared with what lies " + FormatNumber(pixel.nPitch16 / 16.0) + " pixels " +
                       (told.horizontal ? "to the right" : "below") + (own ? "" : ", which is here") + ": " +
                       Grey(told, pixel.nSrc) + " against " + Grey(told, pixel.nCmp) + ", a difference of " +
                       Grey(told, std::abs(pixel.Difference())) + " where the threshold is " +
                       Grey(told, pixel.nThreshold);
    if (pixel.nThresholdBase >= 0)
        text += " (" + std::to_string(pixel.nThresholdBase) + " + " + std::to_string(pixel.nThresholdGain) +
                "/256 of " + std::to_string(std::max(pixel.nSrc, pixel.nCmp)) + ")";
    told.why.push_back(text + ".");
    if (own)
        TellSamples(told, pixel, param, image);
    if (own && pixel.bInCell)
        told.why.push_back("It lies in zone " + std::to_string(pixel.nZone) + ", at " + At(pixel.ptInCell) +
                           " of the zone cell that begins at " + At(pixel.ptCell) + ".");
    if (pixel.bSkipped)
        told.why.push_back("Its cell is skipped.");
    else if (!pixel.bHit)
        told.why.push_back("That is no hit.");
    else
        told.why.push_back("That is a hit, " + std::string(pixel.bBright ? "brighter" : "darker") +
                           " than what it is compared with, in the " + BandName(link.ePos) +
                           " band: " + FateName(link.eFate) + ".");
}

std::string PlainModeText(const Recipe& recipe)
{
    if (recipe.GetKind() == Kind_Binarise)
        return "A pixel is a defect where it is above 0 and below " + std::to_string(recipe.binariseLimit) + ".";
    if (recipe.GetKind() == Kind_Average)
        return "A pixel is a defect where the mean of its window lies more than " + std::to_string(recipe.averageDark) +
               " below or " + std::to_string(recipe.averageBright) + " above that of its background.";
    return "The region is a polygon; its pixels are compared " + FormatNumber(recipe.RealPitchY()) + " pixels below.";
}

std::string RecordText(const CDefectPair& record)
{
    const std::string polarity = record.nDefectType == DefectType_Bright ? "bright" : "dark";
    std::string text = "The record at the pixel is " + polarity + ", " + std::to_string(record.nSrcGray) + " against " +
                       std::to_string(record.nCmpGray) + ", threshold " + std::to_string(record.nThreshold);
    if (record.nDefectPair == DefectPair_Paired)
        text += "; both answers were found";
    else if (record.nDefectPair == DefectPair_Single)
        text += record.nDefectPos == DefectPos_Last ? "; it stands for the unseen partner of the hit one distance "
                                                      "before"
                                                    : "; it stands alone";
    return text + ".";
}

std::string NoRecordText(const Explanation& told, const CChainLink* own, const CChainLink* before)
{
    // The hit at the pixel itself says more than the one before it.
    const bool ownHit = own != nullptr && own->pixel.bHit;
    const CChainLink& link = ownHit ? *own : *before;
    const std::string place = "the pixel " + At(link.pixel.ptPlace);
    switch (link.eFate)
    {
    case HitFate::Paired:
        return ownHit ? "The defect lies one distance on, where the partner is: the record stands there."
                      : "The record of " + place + " stands elsewhere.";
    case HitFate::Single:
        return ownHit && link.ePos == DefectPos_Last
                   ? "In the last band the defect is taken to lie one distance on: the record stands there."
                   : "The hit stands alone at " + place + ": the record stands there.";
    case HitFate::PairRefused:
    case HitFate::SingleRefused:
        return "The kernel refused the record of " + place + ": a dead zone, or the second threshold.";
    case HitFate::SingleUnkept:
        return "The hit of " + place +
               " would stand alone, but singles are not kept, or it does not rise enough above its threshold.";
    case HitFate::Blocked:
        return "The hit " + std::to_string(told.kernel.nHop) + " pixels on from " + place +
               " cannot be its partner: it has the same polarity, is taken, or stands behind a farther one in the "
               "kernel's list. So there is no record.";
    case HitFate::NoPartner:
        return "The hit of " + place + " has no partner of the other polarity " + std::to_string(told.kernel.nHop) +
               " pixels on, and in the middle band a hit without partner gives nothing.";
    case HitFate::Consumed:
        return ownHit ? "The hit is the second one of a pair that the kernel refused."
                      : "The hit of " + place +
                            " is the second one of a pair: the defect is there, and the asked "
                            "pixel was its reference.";
    default:
        return "The hit of " + place + " gives no record here.";
    }
}

} // namespace narvo

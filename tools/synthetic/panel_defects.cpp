// SPDX-License-Identifier: MIT
// Shapes of defects, and their places.
#include "tools/synthetic/panel_defects.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>

#include "host/boxes.h"
#include "tools/synthetic/drawing.h"

namespace narvo::tools
{

namespace
{

/// How a defect changes the value `good` at a pixel centre.
using Change = std::function<double(double x, double y, double good)>;

struct Shape
{
    const char* kind;
    bool bright;
    CRect reach; ///< outside it nothing changes
    Change change;
};

double DistanceToBox(double x, double y, double left, double top, double right, double bottom)
{
    return std::max({left - x, x - right, top - y, y - bottom});
}

CRect Around(double left, double top, double right, double bottom)
{
    constexpr int nSoft = 2;
    return {static_cast<int>(std::floor(left)) - nSoft, static_cast<int>(std::floor(top)) - nSoft,
            static_cast<int>(std::ceil(right)) + nSoft + 1, static_cast<int>(std::ceil(bottom)) + nSoft + 1};
}

Shape MakeDot(Random& random, double x, double y)
{
    const bool bright = random.Whole(0, 1) == 1;
    const double radius = random.Real(1.0, 5.0);
    const double step = random.Real(45.0, 110.0) * (bright ? 1.0 : -1.0);
    return {bright ? "bright_dot" : "dark_dot", bright, Around(x - radius, y - radius, x + radius, y + radius),
            [=](double px, double py, double good)
            { return good + step * Cover(std::hypot(px - x, py - y) - radius); }};
}

/// Shorter than the pitch: what repeats one pitch on is no defect to a comparison of neighbours.
Shape MakeLine(Random& random, double x, double y, const PanelPlan& plan)
{
    const bool bright = random.Whole(0, 1) == 1;
    const double angle = random.Real(0.0, std::numbers::pi);
    const double length = random.Real(0.2, 0.7) * std::min(plan.pitchX, plan.pitchY);
    const double half = random.Real(0.6, 1.5);
    const double step = random.Real(45.0, 110.0) * (bright ? 1.0 : -1.0);
    const double dx = 0.5 * length * std::cos(angle);
    const double dy = 0.5 * length * std::sin(angle);
    return {
        bright ? "bright_line" : "dark_line", bright,
        Around(x - std::fabs(dx) - half, y - std::fabs(dy) - half, x + std::fabs(dx) + half, y + std::fabs(dy) + half),
        [=](double px, double py, double good)
        { return good + step * Cover(DistanceToSegment(px, py, x - dx, y - dy, x + dx, y + dy) - half); }};
}

/// A stripe of the period that was left out, or a piece of stripe where matrix should be.
Shape MakeCell(Random& random, double x, double y, const PanelPlan& plan, bool missing)
{
    const double left = std::floor(x / plan.pitchX) * plan.pitchX;
    const double top = std::floor(y / plan.pitchY) * plan.pitchY;
    const Feature& stripe = features[nFirstStripe + random.Whole(0, nStripes - 1)];
    double x0 = left + stripe.left * plan.pitchX;
    double x1 = left + stripe.right * plan.pitchX;
    double y0 = top + dStripeTop * plan.pitchY;
    double y1 = top + dStripeBottom * plan.pitchY;
    double level = fMatrix;
    if (!missing)
    {
        // Between this stripe and the next, over part of its height.
        const double gap = 0.09 * plan.pitchX;
        x0 = x1;
        x1 = x0 + gap;
        y0 += random.Real(0.0, 0.4) * plan.pitchY;
        y1 = y0 + random.Real(0.08, 0.25) * plan.pitchY;
        level = stripe.level;
    }
    return {missing ? "missing_cell" : "extra_cell", !missing, Around(x0, y0, x1, y1),
            [=](double px, double py, double good)
            { return good + (level - good) * Cover(DistanceToBox(px, py, x0, y0, x1, y1)); }};
}

/// A faint patch without edges.
Shape MakeMura(Random& random, double x, double y)
{
    const bool bright = random.Whole(0, 1) == 1;
    const double spread = random.Real(4.0, 9.0);
    const double step = random.Real(22.0, 32.0) * (bright ? 1.0 : -1.0);
    const double reach = 3.0 * spread;
    return {bright ? "bright_mura" : "dark_mura", bright, Around(x - reach, y - reach, x + reach, y + reach),
            [=](double px, double py, double good)
            {
                const double distance = std::hypot(px - x, py - y) / spread;
                return good + step * std::exp(-0.5 * distance * distance);
            }};
}

Shape MakeShape(Random& random, const PanelPlan& plan)
{
    const double x = random.Real(0.0, plan.width);
    const double y = random.Real(0.0, plan.height);
    switch (random.Whole(0, 7))
    {
    case 0:
    case 1:
    case 2:
        return MakeDot(random, x, y);
    case 3:
    case 4:
        return MakeLine(random, x, y, plan);
    case 5:
        return MakeCell(random, x, y, plan, true);
    case 6:
        return MakeCell(random, x, y, plan, false);
    default:
        return MakeMura(random, x, y);
    }
}

/// Puts the shape on the canvas, if it is visible enough there. The box of the truth holds the pixels that change by
/// at least a third of the largest change.
bool Apply(const Shape& shape, Canvas& canvas, TruthDefect& defect)
{
    constexpr double dVisible = 20.0; // grey levels
    constexpr double dBoxShare = 0.33;
    const CRect& reach = shape.reach;
    const int wide = reach.Width();
    std::vector<double> change(static_cast<std::size_t>(wide) * static_cast<std::size_t>(reach.Height()));
    double largest = 0.0;
    std::size_t i = 0;
    for (int y = reach.top; y < reach.bottom; ++y)
        for (int x = reach.left; x < reach.right; ++x, ++i)
        {
            const double good = canvas.Row(y)[x];
            change[i] = std::clamp(shape.change(x, y, good), 0.0, 255.0) - good;
            largest = std::max(largest, std::fabs(change[i]));
        }
    if (largest < dVisible)
        return false;

    defect = {shape.kind, shape.bright, CRect(reach.right, reach.bottom, reach.left, reach.top), largest};
    i = 0;
    for (int y = reach.top; y < reach.bottom; ++y)
        for (int x = reach.left; x < reach.right; ++x, ++i)
        {
            canvas.Row(y)[x] += static_cast<float>(change[i]);
            if (std::fabs(change[i]) < dBoxShare * largest)
                continue;
            defect.box.left = std::min(defect.box.left, x);
            defect.box.top = std::min(defect.box.top, y);
            defect.box.right = std::max(defect.box.right, x + 1);
            defect.box.bottom = std::max(defect.box.bottom, y + 1);
        }
    return true;
}

} // namespace

void AddDefects(const PanelPlan& plan, Canvas& canvas, std::vector<TruthDefect>& truth)
{
    constexpr int nTries = 200; // for each defect
    constexpr int nBorder = 4;  // pixels that stay good along the image's sides
    Random random(plan.seed * 2 + 1);
    std::vector<CRect> taken;
    for (int tries = 0; tries < plan.defects * nTries && static_cast<int>(truth.size()) < plan.defects; ++tries)
    {
        const Shape shape = MakeShape(random, plan);
        if (shape.reach.left < nBorder || shape.reach.top < nBorder || shape.reach.right > plan.width - nBorder ||
            shape.reach.bottom > plan.height - nBorder)
            continue;
        // Two defects at the same place of neighbouring periods would answer for each other.
        const CRect guarded =
            Grown(shape.reach, static_cast<int>(std::ceil(plan.pitchX)), static_cast<int>(std::ceil(plan.pitchY)));
        if (std::any_of(taken.begin(), taken.end(), [&](const CRect& other) { return Overlap(guarded, other); }))
            continue;
        TruthDefect defect;
        if (!Apply(shape, canvas, defect))
            continue;
        taken.push_back(shape.reach);
        truth.push_back(defect);
    }
    std::sort(truth.begin(), truth.end(),
              [](const TruthDefect& a, const TruthDefect& b)
              { return a.box.top != b.box.top ? a.box.top < b.box.top : a.box.left < b.box.left; });
}

} // namespace narvo::tools

// The panel's pattern, its defects, and the zones and thresholds that go with it.
//
// One period of the pattern is drawn at 16 times the resolution and blurred as lens and pixel aperture would; a pixel
// of the image is one sample of it, so that pitches in steps of 1/16 pixel are exact.
#include "tools/synthetic/panel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numbers>
#include <string>

#include "host/problem.h"
#include "tools/synthetic/drawing.h"

namespace narvo
{

namespace
{

constexpr int nFine = 16; // fine samples per pixel

// Grey levels of the good pattern.
constexpr float fMatrix = 42.0F;
constexpr float fGateLine = 78.0F;
constexpr float fSwitch = 66.0F;
constexpr std::array<float, 3> fStripe = {118.0F, 172.0F, 96.0F};

/// Part of a period, in shares of the pitches.
struct Feature
{
    double left, top, right, bottom;
    float level;
};

constexpr double dStripeTop = 0.10;
constexpr double dStripeBottom = 0.78;
constexpr Feature features[] = {
    {0.00, 0.87, 1.00, 0.93, fGateLine},
    {0.07, dStripeTop, 0.30, dStripeBottom, fStripe[0]},
    {0.39, dStripeTop, 0.62, dStripeBottom, fStripe[1]},
    {0.71, dStripeTop, 0.94, dStripeBottom, fStripe[2]},
    {0.23, 0.70, 0.30, dStripeBottom, fSwitch},
    {0.55, 0.70, 0.62, dStripeBottom, fSwitch},
    {0.87, 0.70, 0.94, dStripeBottom, fSwitch},
};
constexpr int nFirstStripe = 1;
constexpr int nStripes = 3;

/// One period at the fine resolution, wrapping around on all sides.
class FinePeriod
{
public:
    FinePeriod(int width, int height)
        : m_width(width), m_height(height),
          m_values(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), fMatrix)
    {
        for (const Feature& feature : features)
            Fill(feature);
        Blur(nFine); // the pixel's aperture
        Blur(nFine); // two passes more for the lens
        Blur(nFine);
    }

    double At(int x, int y) const
    {
        return m_values[static_cast<std::size_t>(Wrap(y, m_height)) * static_cast<std::size_t>(m_width) +
                        static_cast<std::size_t>(Wrap(x, m_width))];
    }
    const float* Row(int y) const
    {
        return m_values.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(m_width);
    }
    int Width() const { return m_width; }
    int Height() const { return m_height; }

private:
    static int Wrap(int place, int size) { return (place % size + size) % size; }

    void Fill(const Feature& feature)
    {
        const auto place = [](double share, int size) { return static_cast<int>(std::lround(share * size)); };
        for (int y = place(feature.top, m_height); y < place(feature.bottom, m_height); ++y)
            for (int x = place(feature.left, m_width); x < place(feature.right, m_width); ++x)
                m_values[static_cast<std::size_t>(y) * static_cast<std::size_t>(m_width) +
                         static_cast<std::size_t>(x)] = feature.level;
    }

    /// Running mean of `count` values with a step of `stride` between them, around the period.
    static void BlurLine(float* line, int size, std::ptrdiff_t stride, int count, std::vector<float>& copy)
    {
        for (int i = 0; i < size; ++i)
            copy[static_cast<std::size_t>(i)] = line[i * stride];
        double sum = 0.0;
        for (int i = -count / 2; i < count - count / 2; ++i)
            sum += copy[static_cast<std::size_t>(Wrap(i, size))];
        for (int i = 0; i < size; ++i)
        {
            line[i * stride] = static_cast<float>(sum / count);
            sum += copy[static_cast<std::size_t>(Wrap(i + count - count / 2, size))];
            sum -= copy[static_cast<std::size_t>(Wrap(i - count / 2, size))];
        }
    }

    void Blur(int count)
    {
        std::vector<float> copy(static_cast<std::size_t>(std::max(m_width, m_height)));
        for (int y = 0; y < m_height; ++y)
            BlurLine(m_values.data() + static_cast<std::ptrdiff_t>(y) * m_width, m_width, 1, count, copy);
        for (int x = 0; x < m_width; ++x)
            BlurLine(m_values.data() + x, m_height, m_width, count, copy);
    }

    int m_width;
    int m_height;
    std::vector<float> m_values;
};

/// The image before noise, in grey levels.
struct Canvas
{
    int width;
    int height;
    std::vector<float> values;

    Canvas(int nWidth, int nHeight)
        : width(nWidth), height(nHeight), values(static_cast<std::size_t>(nWidth) * static_cast<std::size_t>(nHeight))
    {
    }
    float* Row(int y) { return values.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width); }
};

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

CRect Grow(const CRect& rect, double dx, double dy)
{
    const int wide = static_cast<int>(std::ceil(dx));
    const int high = static_cast<int>(std::ceil(dy));
    return {rect.left - wide, rect.top - high, rect.right + wide, rect.bottom + high};
}

bool Touches(const CRect& a, const CRect& b)
{
    return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
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
        const CRect guarded = Grow(shape.reach, plan.pitchX, plan.pitchY);
        if (std::any_of(taken.begin(), taken.end(), [&](const CRect& other) { return Touches(guarded, other); }))
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

void DrawPattern(const FinePeriod& period, Canvas& canvas)
{
    std::vector<int> columns(static_cast<std::size_t>(canvas.width));
    for (int x = 0; x < canvas.width; ++x)
        columns[static_cast<std::size_t>(x)] = static_cast<int>(static_cast<std::int64_t>(x) * nFine % period.Width());
    for (int y = 0; y < canvas.height; ++y)
    {
        const float* source = period.Row(static_cast<int>(static_cast<std::int64_t>(y) * nFine % period.Height()));
        std::transform(columns.begin(), columns.end(), canvas.Row(y), [&](int column) { return source[column]; });
    }
}

/// Brightness drift, noise and rounding.
GreyImage Expose(const PanelPlan& plan, Canvas& canvas)
{
    Random random(plan.seed * 2);
    const double phaseX = random.Real(0.0, 2.0 * std::numbers::pi);
    const double phaseY = random.Real(0.0, 2.0 * std::numbers::pi);
    std::vector<double> along(static_cast<std::size_t>(plan.width));
    for (int x = 0; x < plan.width; ++x)
        along[static_cast<std::size_t>(x)] = 0.5 * plan.drift * std::sin(phaseX + 5.0 * x / plan.width);

    GreyImage image(plan.width, plan.height);
    for (int y = 0; y < plan.height; ++y)
    {
        const double down = 1.0 + 0.5 * plan.drift * std::sin(phaseY + 4.0 * y / plan.height);
        const float* source = canvas.Row(y);
        std::uint8_t* target = image.Row(y);
        double spare = 0.0;
        for (int x = 0; x < plan.width; ++x)
        {
            // Two normal numbers come at a time.
            double normal = spare;
            if ((x & 1) == 0)
            {
                const double radius = std::sqrt(-2.0 * std::log(1.0 - random.Real(0.0, 1.0)));
                const double angle = random.Real(0.0, 2.0 * std::numbers::pi);
                normal = radius * std::cos(angle);
                spare = radius * std::sin(angle);
            }
            const double value = source[x] * (down + along[static_cast<std::size_t>(x)]) + plan.noise * normal;
            target[x] = static_cast<std::uint8_t>(std::clamp(std::lround(value), 0L, 255L));
        }
        std::fill(target + plan.width, target + image.Stride(), target[plan.width - 1]);
    }
    return image;
}

/// How far linear interpolation can be wrong around a pixel of the cell, whatever the cell's sub-pixel place.
double InterpolationError(const FinePeriod& period, int x, int y, int fractionX, int fractionY)
{
    double worst = 0.0;
    constexpr int nStep = 4;
    for (int fineY = (y - 1) * nFine; fineY <= (y + 1) * nFine; fineY += nStep)
        for (int fineX = (x - 1) * nFine; fineX <= (x + 1) * nFine; fineX += nStep)
        {
            const double vertical = (period.At(fineX, fineY - fractionY) * (nFine - fractionY) +
                                     period.At(fineX, fineY - fractionY + nFine) * fractionY) /
                                    nFine;
            const double horizontal = (period.At(fineX - fractionX, fineY) * (nFine - fractionX) +
                                       period.At(fineX - fractionX + nFine, fineY) * fractionX) /
                                      nFine;
            const double good = period.At(fineX, fineY);
            worst = std::max({worst, std::fabs(vertical - good), std::fabs(horizontal - good)});
        }
    return worst;
}

/// Zones by how well a comparison can do at a place of the cell, thresholds by the noise that is left there.
Recipe MakeRecipe(const PanelPlan& plan, const FinePeriod& period)
{
    constexpr std::array<double, 3> dErrorLimit = {1.0, 3.0, 1e9}; // grey levels, by zone
    constexpr double dSigmas = 6.0;
    const int fractionX = period.Width() % nFine;
    const int fractionY = period.Height() % nFine;

    Recipe recipe;
    recipe.pitchX = plan.pitchX;
    recipe.pitchY = plan.pitchY;
    recipe.zones.clear();
    recipe.zoneImage = GreyImage(static_cast<int>(std::ceil(plan.pitchX)), static_cast<int>(std::ceil(plan.pitchY)));
    std::array<double, 3> worst = {};
    for (int y = 0; y < recipe.zoneImage.Height(); ++y)
        for (int x = 0; x < recipe.zoneImage.Width(); ++x)
        {
            const double error = InterpolationError(period, x, y, fractionX, fractionY);
            const auto zone = static_cast<std::size_t>(
                std::find_if(dErrorLimit.begin(), dErrorLimit.end(), [&](double limit) { return error <= limit; }) -
                dErrorLimit.begin());
            worst[zone] = std::max(worst[zone], error);
            recipe.zoneImage.Row(y)[x] = static_cast<std::uint8_t>(zone + 1);
        }

    // A pixel's noise and rounding, against those of the reference that two pixels are mixed into.
    const double single = std::hypot(plan.noise, 0.3);
    const double share = std::min(std::max(fractionX, nFine - fractionX), std::max(fractionY, nFine - fractionY)) /
                         static_cast<double>(nFine);
    const double both = single * std::sqrt(1.0 + share * share + (1.0 - share) * (1.0 - share));
    // The drift's steepest change from one period to the next.
    const double slope = plan.drift * 2.5 * std::max(plan.pitchX / plan.width, plan.pitchY / plan.height);
    for (std::size_t zone = 0; zone < worst.size(); ++zone)
    {
        ZoneSettings settings;
        settings.index = static_cast<int>(zone) + 1;
        settings.offset = static_cast<int>(std::ceil(dSigmas * both + worst[zone]));
        settings.gain = static_cast<int>(std::ceil(slope * 256.0));
        recipe.zones.push_back(settings);
    }
    return recipe;
}

void Check(const PanelPlan& plan)
{
    constexpr int nSideLow = 256;
    constexpr int nSideHigh = 32768;
    constexpr int nPitchLow = 24;
    constexpr int nPitchHigh = 300;
    std::vector<Problem> found;
    const auto check = [&](const char* field, double value, double low, double high, const char* unit)
    {
        if (!(value >= low && value <= high))
            found.push_back({field, FormatNumber(value),
                             FormatNumber(low) + " to " + FormatNumber(high) + (*unit != '\0' ? " " : "") + unit});
    };
    const auto checkPitch = [&](const char* field, double pitch, int side)
    {
        check(field, pitch, nPitchLow, std::clamp(side, nSideLow, nPitchHigh * 5) / 5.0, "pixels");
        if (pitch * nFine != std::floor(pitch * nFine))
            found.push_back({field, FormatNumber(pitch), "multiples of 0.0625 pixels"});
    };
    check("--width", plan.width, nSideLow, nSideHigh, "pixels");
    check("--height", plan.height, nSideLow, nSideHigh, "pixels");
    checkPitch("--pitch-x", plan.pitchX, plan.width);
    checkPitch("--pitch-y", plan.pitchY, plan.height);
    check("--noise", plan.noise, 0.0, 20.0, "grey levels");
    check("--drift", plan.drift, 0.0, 0.3, "");
    check("--defects", plan.defects, 0, 20000, "");
    ThrowIfAny(std::move(found));
}

} // namespace

Panel MakePanel(const PanelPlan& plan)
{
    Check(plan);
    const FinePeriod period(static_cast<int>(plan.pitchX * nFine), static_cast<int>(plan.pitchY * nFine));
    Panel panel;
    Canvas canvas(plan.width, plan.height);
    DrawPattern(period, canvas);
    AddDefects(plan, canvas, panel.truth);
    panel.image = Expose(plan, canvas);
    panel.recipe = MakeRecipe(plan, period);
    return panel;
}

} // namespace narvo

// SPDX-License-Identifier: MIT
// The board's layout, its defects, and its photographs.
#include "tools/synthetic/board.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>
#include <string>

#include "host/boxes.h"
#include "host/problem.h"
#include "tools/synthetic/drawing.h"
#include "tools/synthetic/plan_check.h"

namespace narvo::tools
{

namespace
{

// Grey levels of the good board.
constexpr double dBase = 190.0;
constexpr double dCopper = 60.0;
constexpr double dPrint = 15.0;

struct Point
{
    double x;
    double y;
};

/// A stroke with round ends; of length 0 a disk. Places and radius in pixels of the first reference.
struct Stroke
{
    Point from;
    Point to;
    double radius;
    double level;
};

struct Layout
{
    std::vector<Stroke> traces;
    std::vector<Stroke> disks; ///< pads and their holes, in turn
    std::vector<Stroke> label;
};

Layout MakeLayout(const BoardPlan& plan, Random& random)
{
    constexpr double dCell = 44.0; // pixels of board for a trace's length and width
    Layout layout;
    const int traces = static_cast<int>(plan.width * plan.height / (dCell * dCell * 18.0)) + 4;
    for (int i = 0; i < traces; ++i)
    {
        Point at{random.Real(0.0, plan.width), random.Real(0.0, plan.height)};
        const double radius = random.Real(3.5, 8.0);
        int heading = random.Whole(0, 7);
        const int pieces = random.Whole(3, 7);
        const auto pad = [&](const Point& place)
        {
            const double size = radius + random.Real(5.0, 9.0);
            layout.disks.push_back({place, place, size, dCopper});
            layout.disks.push_back({place, place, 0.4 * size, dBase});
        };
        pad(at);
        for (int k = 0; k < pieces; ++k)
        {
            const double angle = heading * std::numbers::pi / 4.0;
            const double length = random.Real(40.0, 150.0);
            const Point next{std::clamp(at.x + length * std::cos(angle), 0.0, plan.width - 1.0),
                             std::clamp(at.y + length * std::sin(angle), 0.0, plan.height - 1.0)};
            layout.traces.push_back({at, next, radius, dCopper});
            at = next;
            heading += random.Whole(0, 1) == 0 ? -1 : 1;
        }
        pad(at);
    }

    const int signs = plan.width / 40;
    const double line = random.Real(0.3, 0.6) * plan.height;
    for (int i = 0; i < signs; ++i)
        for (int k = 0; k < 4; ++k)
        {
            const auto corner = [&] {
                return Point{20.0 + 18.0 * i + 6.0 * random.Whole(0, 2), line + 8.0 * random.Whole(0, 2)};
            };
            const Point from = corner();
            layout.label.push_back({from, corner(), 1.8, dPrint});
        }
    return layout;
}

/// How the pixels of a photograph lie on the board.
struct Pose
{
    std::array<double, 6> toBoard = {1.0, 0.0, 0.0, 0.0, 1.0, 0.0};
    double swayDepth = 0.0;
    double swayRate = 0.0;

    Point ToBoard(double x, double y) const
    {
        return {toBoard[0] * x + toBoard[1] * y + toBoard[2],
                toBoard[3] * x + toBoard[4] * y + toBoard[5] + swayDepth * std::sin(swayRate * y)};
    }
    /// Without the sway, which is small.
    Point ToImage(const Point& board) const
    {
        const double determinant = toBoard[0] * toBoard[4] - toBoard[1] * toBoard[3];
        const double x = board.x - toBoard[2];
        const double y = board.y - toBoard[5];
        return {(toBoard[4] * x - toBoard[1] * y) / determinant, (toBoard[0] * y - toBoard[3] * x) / determinant};
    }
};

Pose MakePose(const BoardPlan& plan)
{
    const double angle = plan.rotation * std::numbers::pi / 180.0;
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    // Board to image: scaled, then turned; the pose is the way back.
    const double xx = c * plan.scaleX;
    const double xy = -s * plan.scaleY;
    const double yx = s * plan.scaleX;
    const double yy = c * plan.scaleY;
    const double determinant = xx * yy - xy * yx;
    Pose pose;
    pose.toBoard = {yy / determinant, -xy / determinant, 0.0, -yx / determinant, xx / determinant, 0.0};
    const double x = 0.5 * (plan.width - 1);
    const double y = 0.5 * (plan.height - 1);
    pose.toBoard[2] = x - pose.toBoard[0] * (x + plan.shiftX) - pose.toBoard[1] * (y + plan.shiftY);
    pose.toBoard[5] = y - pose.toBoard[3] * (x + plan.shiftX) - pose.toBoard[4] * (y + plan.shiftY);
    pose.swayDepth = plan.sway;
    pose.swayRate = 2.0 * std::numbers::pi / plan.height;
    return pose;
}

/// A photograph before noise, in grey levels.
class Photograph
{
public:
    Photograph(int width, int height, const Pose& pose)
        : m_width(width), m_height(height), m_pose(pose),
          m_values(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), dBase)
    {
    }

    void Draw(const std::vector<Stroke>& strokes)
    {
        for (const Stroke& stroke : strokes)
            Draw(stroke);
    }

    void Draw(const Stroke& stroke)
    {
        ForPixels(stroke, [&](int, int, double& value, double changed) { value = changed; });
    }

    /// What a stroke would change clearly: the box of these pixels, how many they are, and the largest change.
    struct Mark
    {
        CRect box;
        int pixels = 0;
        double contrast = 0.0;
    };
    Mark Try(const Stroke& stroke)
    {
        constexpr double dClear = 60.0; // grey levels
        Mark mark;
        mark.box = CRect(m_width, m_height, 0, 0);
        ForPixels(stroke,
                  [&](int x, int y, const double& value, double changed)
                  {
                      mark.contrast = std::max(mark.contrast, std::fabs(changed - value));
                      if (std::fabs(changed - value) < dClear)
                          return;
                      ++mark.pixels;
                      mark.box = CRect(std::min(mark.box.left, x), std::min(mark.box.top, y),
                                       std::max(mark.box.right, x + 1), std::max(mark.box.bottom, y + 1));
                  });
        return mark;
    }

    GreyImage Expose(double noise, Random& random) const
    {
        GreyImage image(m_width, m_height);
        const double* source = m_values.data();
        for (int y = 0; y < m_height; ++y)
        {
            std::uint8_t* target = image.Row(y);
            for (int x = 0; x < m_width; ++x)
            {
                // Close to normal: the sum of twelve even numbers has variance 1.
                double normal = -6.0;
                for (int i = 0; noise > 0.0 && i < 12; ++i)
                    normal += random.Real(0.0, 1.0);
                const double value = *source++ + (noise > 0.0 ? noise * normal : 0.0);
                target[x] = static_cast<std::uint8_t>(std::clamp(std::lround(value), 0L, 255L));
            }
            std::fill(target + m_width, target + image.Stride(), target[m_width - 1]);
        }
        return image;
    }

private:
    /// Calls `use(x, y, value, changed value)` around the stroke.
    template <typename Use>
    void ForPixels(const Stroke& stroke, Use use)
    {
        const Point from = m_pose.ToImage(stroke.from);
        const Point to = m_pose.ToImage(stroke.to);
        const double reach = 1.3 * stroke.radius + std::fabs(1.3 * m_pose.swayDepth) + 3.0;
        const int left = std::max(0, static_cast<int>(std::min(from.x, to.x) - reach));
        const int top = std::max(0, static_cast<int>(std::min(from.y, to.y) - reach));
        const int right = std::min(m_width, static_cast<int>(std::max(from.x, to.x) + reach) + 1);
        const int bottom = std::min(m_height, static_cast<int>(std::max(from.y, to.y) + reach) + 1);
        for (int y = top; y < bottom; ++y)
            for (int x = left; x < right; ++x)
            {
                const Point place = m_pose.ToBoard(x, y);
                const double cover =
                    Cover(DistanceToSegment(place.x, place.y, stroke.from.x, stroke.from.y, stroke.to.x, stroke.to.y) -
                          stroke.radius);
                double& value = m_values[static_cast<std::size_t>(y) * static_cast<std::size_t>(m_width) +
                                         static_cast<std::size_t>(x)];
                if (cover > 0.0)
                    use(x, y, value, value + cover * (stroke.level - value));
            }
    }

    int m_width;
    int m_height;
    Pose m_pose;
    std::vector<double> m_values;
};

/// The good board. Every one has its own place of the label.
Photograph Photo(const BoardPlan& plan, const Layout& layout, const Pose& pose, Random& random)
{
    Photograph photo(plan.width, plan.height, pose);
    photo.Draw(layout.traces);
    photo.Draw(layout.disks);
    const double x = plan.labelPlay * random.Real(-1.0, 1.0);
    const double y = plan.labelPlay * random.Real(-1.0, 1.0);
    for (Stroke stroke : layout.label)
    {
        stroke.from = {stroke.from.x + x, stroke.from.y + y};
        stroke.to = {stroke.to.x + x, stroke.to.y + y};
        photo.Draw(stroke);
    }
    return photo;
}

struct Defect
{
    const char* kind;
    bool bright;
    Stroke stroke;
};

Defect MakeDefect(const BoardPlan& plan, const Layout& layout, Random& random)
{
    const Stroke& trace =
        layout.traces[static_cast<std::size_t>(random.Whole(0, static_cast<int>(layout.traces.size()) - 1))];
    const double dx = trace.to.x - trace.from.x;
    const double dy = trace.to.y - trace.from.y;
    const double length = std::max(1.0, std::hypot(dx, dy));
    const double share = random.Real(0.2, 0.8);
    const Point on{trace.from.x + share * dx, trace.from.y + share * dy};
    const double side = random.Whole(0, 1) == 0 ? -1.0 : 1.0;
    const Point across{-side * dy / length, side * dx / length};
    const auto away = [&](double distance) { return Point{on.x + distance * across.x, on.y + distance * across.y}; };
    switch (random.Whole(0, 5))
    {
    case 0:
        return {"open", true, {away(-trace.radius - 2.0), away(trace.radius + 2.0), 4.0, dBase}};
    case 1:
        return {"short", false, {away(trace.radius), away(trace.radius + random.Real(12.0, 24.0)), 3.5, dCopper}};
    case 2:
        return {"bite", true, {away(trace.radius), away(trace.radius), random.Real(5.0, 7.0), dBase}};
    case 3:
        return {"spur", false, {away(trace.radius), away(trace.radius + 4.0), random.Real(4.0, 5.0), dCopper}};
    case 4:
        return {"pinhole", true, {on, on, 4.0, dBase}};
    default:
    {
        const Point free{random.Real(0.0, plan.width), random.Real(0.0, plan.height)};
        return {"spot", false, {free, free, random.Real(3.0, 6.0), dCopper}};
    }
    }
}

/// Draws defects where they are clear to see and apart from each other.
void AddDefects(const BoardPlan& plan, const Layout& layout, Photograph& photo, Random& random,
                std::vector<TruthDefect>& truth)
{
    constexpr int nLeastPixels = 40;
    constexpr int nApart = 16;
    constexpr int nMargin = 40;
    constexpr int nTries = 200;
    const CRect inner(nMargin, nMargin, plan.width - nMargin, plan.height - nMargin);
    for (int i = 0; i < plan.defects * nTries && static_cast<int>(truth.size()) < plan.defects; ++i)
    {
        const Defect defect = MakeDefect(plan, layout, random);
        const Photograph::Mark mark = photo.Try(defect.stroke);
        const CRect& box = mark.box;
        if (mark.pixels < nLeastPixels || box.left < inner.left || box.top < inner.top || box.right > inner.right ||
            box.bottom > inner.bottom)
            continue;
        const auto close = [&](const TruthDefect& other) { return Overlap(Grown(box, nApart), other.box); };
        if (std::any_of(truth.begin(), truth.end(), close))
            continue;
        photo.Draw(defect.stroke);
        truth.push_back({defect.kind, defect.bright, box, mark.contrast});
    }
}

void Check(const BoardPlan& plan)
{
    std::vector<Problem> found;
    const auto check = [&](const char* field, double value, double low, double high, const char* unit)
    { CheckNumber(field, value, low, high, unit, found); };
    check("--width", plan.width, 256, 8192, "pixels");
    check("--height", plan.height, 256, 8192, "pixels");
    check("--references", plan.references, 1, 100, "images");
    check("--shift-x", plan.shiftX, -100.0, 100.0, "pixels");
    check("--shift-y", plan.shiftY, -100.0, 100.0, "pixels");
    check("--rotation", plan.rotation, -15.0, 15.0, "degrees");
    check("--scale-x", plan.scaleX, 0.8, 1.2, "");
    check("--scale-y", plan.scaleY, 0.8, 1.2, "");
    check("--sway", plan.sway, 0.0, 8.0, "pixels");
    check("--noise", plan.noise, 0.0, 20.0, "grey levels");
    check("--label-play", plan.labelPlay, 0.0, 10.0, "pixels");
    check("--defects", plan.defects, 0, 200, "");
    ThrowIfAny(std::move(found));
}

} // namespace

Board MakeBoard(const BoardPlan& plan)
{
    Check(plan);
    Random random(plan.seed);
    const Layout layout = MakeLayout(plan, random);
    Board board;
    for (int i = 0; i < plan.references; ++i)
        board.references.push_back(Photo(plan, layout, {}, random).Expose(plan.noise, random));
    const Pose pose = MakePose(plan);
    Photograph photo = Photo(plan, layout, pose, random);
    AddDefects(plan, layout, photo, random, board.truth);
    board.image = photo.Expose(plan.noise, random);
    board.affine = pose.toBoard;
    board.swayDepth = pose.swayDepth;
    board.swayRate = pose.swayRate;
    return board;
}

} // namespace narvo::tools

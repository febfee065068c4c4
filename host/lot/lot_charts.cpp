// SPDX-License-Identifier: MIT
// The series of a lot, and their charts.
#include "host/lot/lot_charts.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>
#include <utility>

namespace narvo
{

namespace
{

/// A count and what it was counted in, of one image.
struct CountInArea
{
    double count = 0.0;
    double area = 0.0;
};

class Charter
{
public:
    Charter(const Lot& lot, std::size_t baseline) : m_lot(lot), m_baseline(baseline) {}

    std::vector<LotChart> Run()
    {
        constexpr double dMegapixel = 1e6;
        AddCounts("defects", "a megapixel",
                  [](const LotImage& image)
                  { return InArea(static_cast<double>(image.defects), image.area / dMegapixel, image); });
        AddCounts("pairs", "a megapixel",
                  [](const LotImage& image)
                  { return InArea(static_cast<double>(image.pairs), image.area / dMegapixel, image); });
        AddCounts("refused", "an image",
                  [](const LotImage& image) {
                      return std::optional(CountInArea{image.refused ? 1.0 : 0.0, 1.0});
                  });
        const auto one = [](const LotImage&) { return 1.0; };
        AddValues("light", "grey levels, mean of an image", &LotImage::light, one);
        AddValues("noise", "grey levels, standard deviation of a pixel", &LotImage::noise, one);
        AddValues("pitch_x", "pixels", &LotImage::pitchX, one);
        AddValues("pitch_y", "pixels", &LotImage::pitchY, one);
        const auto defects = [](const LotImage& image)
        { return static_cast<double>(std::max<std::size_t>(1, image.defects)); };
        AddValues("size", "pixels, geometric mean of an image's defects", &LotImage::size, defects);
        AddValues("contrast", "grey levels, mean difference of an image's defects", &LotImage::contrast, defects);
        AddValues("grey", "grey levels, mean of what an image's defects were compared with", &LotImage::grey, defects);
        for (LotChart& chart : m_charts)
        {
            chart.change = FindChange(chart.chart.points);
            chart.chance = std::min(1.0, chart.change.probability * static_cast<double>(m_charts.size()));
        }
        return std::move(m_charts);
    }

private:
    static std::optional<CountInArea> InArea(double count, double area, const LotImage& image)
    {
        if (image.refused || area <= 0.0)
            return std::nullopt;
        return CountInArea{count, area};
    }

    /// Points of a baseline given in images.
    std::size_t PointsOf(const std::vector<std::size_t>& first) const
    {
        if (m_baseline == 0)
            return 0;
        const auto end = std::lower_bound(first.begin(), first.end(), m_baseline);
        return std::max<std::size_t>(1, static_cast<std::size_t>(end - first.begin()));
    }

    void AddCounts(const char* name, const char* unit,
                   const std::function<std::optional<CountInArea>(const LotImage&)>& count)
    {
        constexpr double dLeastMean = 5.0;
        double sum = 0.0;
        std::size_t images = 0;
        for (const LotImage& image : m_lot.images)
            if (const auto one = count(image))
            {
                sum += one->count;
                ++images;
            }
        if (images < 2 || sum <= 0.0)
            return;
        LotChart made;
        made.name = name;
        made.unit = unit;
        made.counts = true;
        made.group = static_cast<std::size_t>(std::max(1.0, std::ceil(dLeastMean * static_cast<double>(images) / sum)));
        std::vector<double> counts;
        std::vector<double> areas;
        std::size_t inGroup = 0;
        for (std::size_t i = 0; i < m_lot.images.size(); ++i)
            if (const auto one = count(m_lot.images[i]))
            {
                if (inGroup == 0)
                {
                    made.first.push_back(i);
                    counts.push_back(0.0);
                    areas.push_back(0.0);
                }
                counts.back() += one->count;
                areas.back() += one->area;
                inGroup = (inGroup + 1) % made.group;
            }
        if (counts.size() < 2)
            return;
        made.chart = ChartOfCounts(counts, areas, PointsOf(made.first));
        m_charts.push_back(std::move(made));
    }

    /// `number`: of how many measurements an image's value is the mean.
    void AddValues(const char* name, const char* unit, std::optional<double> LotImage::*value,
                   const std::function<double(const LotImage&)>& number)
    {
        LotChart made;
        made.name = name;
        made.unit = unit;
        std::vector<double> values;
        std::vector<double> numbers;
        for (std::size_t i = 0; i < m_lot.images.size(); ++i)
            if (const auto& one = m_lot.images[i].*value)
            {
                made.first.push_back(i);
                values.push_back(*one);
                numbers.push_back(number(m_lot.images[i]));
            }
        if (values.size() < 2)
            return;
        made.chart = ChartOfMeans(std::move(values), numbers, PointsOf(made.first));
        m_charts.push_back(std::move(made));
    }

    const Lot& m_lot;
    std::size_t m_baseline;
    std::vector<LotChart> m_charts;
};

} // namespace

std::vector<LotChart> ChartLot(const Lot& lot, std::size_t baseline)
{
    return Charter(lot, baseline).Run();
}

} // namespace narvo

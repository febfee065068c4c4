// SPDX-License-Identifier: MIT
// Elimination of offsets and gain, and the solution in the determined directions.
#include "host/golden/normal_sums.h"

#include <algorithm>
#include <cmath>

#include <opencv2/core.hpp>

namespace narvo
{

namespace
{

// Neighbouring pixels of smoothed pictures share their noise: so many count as one.
constexpr double dAlike = 12.0;

} // namespace

void NormalSums::Add(const NormalSums& other)
{
    weight += other.weight;
    difference += other.difference;
    for (std::size_t i = 0; i < nUnknowns; ++i)
    {
        derivative[i] += other.derivative[i];
        score[i] += other.score[i];
    }
    for (std::size_t k = 0; k < nTriangle; ++k)
        square[k] += other.square[k];
}

void NormalSums::EliminateOffset()
{
    if (!(weight > 0.0))
        return;
    std::size_t k = 0;
    for (std::size_t i = 0; i < nUnknowns; ++i)
    {
        const double share = derivative[i] / weight;
        score[i] -= share * difference;
        for (std::size_t j = i; j < nUnknowns; ++j)
            square[k++] -= share * derivative[j];
    }
    difference = 0.0;
}

std::size_t NormalSums::Place(int i, int j)
{
    const int a = std::min(i, j);
    const int b = std::max(i, j);
    return static_cast<std::size_t>(a * nUnknowns - a * (a - 1) / 2 + b - a);
}

NormalStep SolveStep(const std::vector<NormalSums>& blocks, const std::vector<MapTerms>& directions,
                     const MapTerms& away, double noise, double error)
{
    NormalStep step;
    NormalSums all;
    for (const NormalSums& block : blocks)
        all.Add(block);
    const int count = static_cast<int>(directions.size());
    const double gainSquare = all.Square(nMapTerms, nMapTerms);
    const double gainScore = all.score[nMapTerms];
    const auto project = [&](const auto& values, int i)
    {
        double sum = 0.0;
        for (std::size_t k = 0; k < nMapTerms; ++k)
            sum += directions[static_cast<std::size_t>(i)][k] * values[k];
        return sum;
    };
    std::array<MapTerms, nMapTerms> squares{};
    MapTerms ofGain{};
    for (int k = 0; k < nMapTerms; ++k)
    {
        ofGain[static_cast<std::size_t>(k)] = all.Square(k, nMapTerms);
        for (int l = 0; l < nMapTerms; ++l)
            squares[static_cast<std::size_t>(k)][static_cast<std::size_t>(l)] = all.Square(k, l);
    }
    std::vector<double> withGain(directions.size()); // of each direction with the gain
    for (int i = 0; i < count; ++i)
        withGain[static_cast<std::size_t>(i)] = gainSquare > 0.0 ? project(ofGain, i) / gainSquare : 0.0;
    cv::Mat matrix = cv::Mat::zeros(count, count, CV_64F);
    for (int j = 0; j < count; ++j)
    {
        MapTerms row{};
        for (std::size_t k = 0; k < nMapTerms; ++k)
            row[k] = project(squares[k], j);
        for (int i = 0; i < count; ++i)
            matrix.at<double>(i, j) = project(row, i) - withGain[static_cast<std::size_t>(i)] *
                                                            withGain[static_cast<std::size_t>(j)] * gainSquare;
    }
    // Of every block and direction.
    std::vector<double> scores;
    scores.reserve(blocks.size() * directions.size());
    for (const NormalSums& block : blocks)
        for (int i = 0; i < count; ++i)
            scores.push_back(project(block.score, i) - withGain[static_cast<std::size_t>(i)] * block.score[nMapTerms]);

    cv::Mat values;
    cv::Mat vectors;
    if (count > 0)
        cv::eigen(matrix, values, vectors);
    for (int e = 0; e < count; ++e)
    {
        const double* vector = vectors.ptr<double>(e);
        const double square = values.at<double>(e);
        double score = 0.0;
        double scatter = 0.0;
        for (const double* block = scores.data(); block != scores.data() + scores.size(); block += count)
        {
            double own = 0.0;
            for (int i = 0; i < count; ++i)
                own += vector[i] * block[i];
            score += own;
            scatter += own * own;
        }
        double amount = 0.0;
        const double least = noise * noise * dAlike * square;
        // Of one group alone there is no scatter to be seen.
        const double variance = blocks.size() > 1 ? std::max(scatter, least) : least;
        if (square > 0.0 && std::sqrt(variance) <= error * square)
        {
            amount = score / square;
            step.explained += score * amount;
        }
        else
            for (int i = 0; i < count; ++i)
                amount -= vector[i] * project(away, i);
        for (int i = 0; i < count; ++i)
            for (std::size_t k = 0; k < nMapTerms; ++k)
                step.change[k] += amount * vector[i] * directions[static_cast<std::size_t>(i)][k];
    }
    if (gainSquare > 0.0)
    {
        step.gain = gainScore / gainSquare;
        step.explained += gainScore * step.gain;
        for (int k = 0; k < nMapTerms; ++k)
            step.gain -= step.change[static_cast<std::size_t>(k)] * all.Square(k, nMapTerms) / gainSquare;
    }
    return step;
}

} // namespace narvo

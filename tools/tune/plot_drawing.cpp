// SPDX-License-Identifier: MIT
// Both formats of a drawing.
#include "tools/tune/plot_drawing.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sstream>

#include <opencv2/imgproc.hpp>

#include "host/file/output_file.h"
#include "host/image/cv_image.h"

namespace narvo::tools
{

std::string DrawnNumber(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}

namespace
{

class SvgDrawing : public Drawing
{
public:
    SvgDrawing(int width, int height)
    {
        m_out << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " << width << ' ' << height
              << "\" font-family=\"sans-serif\" font-size=\"13\">\n<rect width=\"100%\" height=\"100%\" "
                 "fill=\"#fff\"/>\n";
    }
    void Line(const std::vector<Place>& places, Colour colour, double width, bool dashed) override
    {
        m_out << "<polyline fill=\"none\" stroke=\"" << Name(colour) << "\" stroke-width=\"" << DrawnNumber(width)
              << '"' << (dashed ? " stroke-dasharray=\"6 4\"" : "") << " points=\"";
        for (const Place& place : places)
            m_out << Round(place.x) << ',' << Round(place.y) << ' ';
        m_out << "\"/>\n";
    }
    void Dot(Place place, double radius, Colour colour) override
    {
        m_out << "<circle cx=\"" << Round(place.x) << "\" cy=\"" << Round(place.y) << "\" r=\"" << DrawnNumber(radius)
              << "\" fill=\"" << Name(colour) << "\"/>\n";
    }
    void Text(Place place, const std::string& text, Colour colour, Anchor anchor) override
    {
        static constexpr const char* anchors[] = {"start", "middle", "end"};
        m_out << "<text x=\"" << Round(place.x) << "\" y=\"" << Round(place.y) << "\" fill=\"" << Name(colour)
              << "\" text-anchor=\"" << anchors[static_cast<int>(anchor)] << "\">";
        for (const char letter : text)
            letter == '&' ? m_out << "&amp;" : letter == '<' ? m_out << "&lt;" : m_out << letter;
        m_out << "</text>\n";
    }
    void Save(const std::filesystem::path& file) override { WriteTextFile(file, m_out.str() + "</svg>\n"); }

private:
    static std::string Name(Colour colour)
    {
        char text[8];
        std::snprintf(text, sizeof text, "#%02x%02x%02x", colour.red, colour.green, colour.blue);
        return text;
    }
    static std::string Round(double value) { return DrawnNumber(std::round(value * 10.0) / 10.0); }

    std::ostringstream m_out;
};

class PngDrawing : public Drawing
{
public:
    PngDrawing(int width, int height) : m_picture(height, width, CV_8UC3, cv::Scalar(255, 255, 255)) {}
    void Line(const std::vector<Place>& places, Colour colour, double width, bool dashed) override
    {
        for (std::size_t i = 0; i + 1 < places.size(); ++i)
        {
            const cv::Point2d from(places[i].x, places[i].y);
            const cv::Point2d step = cv::Point2d(places[i + 1].x, places[i + 1].y) - from;
            const int pieces = dashed ? std::max(1, static_cast<int>(std::hypot(step.x, step.y) / 5.0)) : 1;
            for (int piece = 0; piece < pieces; piece += 2)
                cv::line(m_picture, from + step * (static_cast<double>(piece) / pieces),
                         from + step * (static_cast<double>(piece + 1) / pieces), ToScalar(colour),
                         static_cast<int>(std::lround(width)), cv::LINE_AA);
        }
    }
    void Dot(Place place, double radius, Colour colour) override
    {
        cv::circle(m_picture, cv::Point2d(place.x, place.y), static_cast<int>(std::lround(radius)), ToScalar(colour),
                   cv::FILLED, cv::LINE_AA);
    }
    void Text(Place place, const std::string& text, Colour colour, Anchor anchor) override
    {
        int baseline = 0;
        const cv::Size size = cv::getTextSize(text, cv::FONT_HERSHEY_SIMPLEX, 0.45, 1, &baseline);
        const double left = anchor == Anchor::Start ? 0.0 : anchor == Anchor::Middle ? size.width / 2.0 : size.width;
        cv::putText(m_picture, text, cv::Point2d(place.x - left, place.y), cv::FONT_HERSHEY_SIMPLEX, 0.45,
                    ToScalar(colour), 1, cv::LINE_AA);
    }
    void Save(const std::filesystem::path& file) override { SaveImage(file, m_picture, "a writable place"); }

private:
    static cv::Scalar ToScalar(Colour colour)
    {
        return {double(colour.blue), double(colour.green), double(colour.red)};
    }

    cv::Mat m_picture;
};

} // namespace

std::unique_ptr<Drawing> MakeDrawing(const std::filesystem::path& file, int width, int height)
{
    if (file.extension() == ".svg")
        return std::make_unique<SvgDrawing>(width, height);
    return std::make_unique<PngDrawing>(width, height);
}

} // namespace narvo::tools

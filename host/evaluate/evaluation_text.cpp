// SPDX-License-Identifier: MIT
// A method's figures as text.
#include <cstdio>

#include "host/evaluate/evaluation.h"
#include "host/foreign_text.h"

namespace narvo
{

std::string FigureText(const Figure& figure)
{
    if (!figure.value)
        return "-";
    char text[96];
    std::snprintf(text, sizeof text, "%.3f (%.3f to %.3f)", *figure.value, figure.low, figure.high);
    return text;
}

std::string MethodText(const MethodResult& method)
{
    std::string text = method.name + ":\n  image AUROC     " + FigureText(method.imageAuroc) + "\n  pixel AUROC     " +
                       FigureText(method.pixelAuroc) + "\n  region overlap  " + FigureText(method.regionOverlap) +
                       "\n  found           " + FigureText(method.found) + "\n  false an image  " +
                       FigureText(method.falseAnImage) + "\n  F1, images      " + FigureText(method.imageF1) + "\n";
    if (method.refused > 0)
        text += "  refused         " + std::to_string(method.refused) + "\n";
    for (const auto& [kind, count] : method.kinds)
        text +=
            "  " + Printable(kind) + ": " + std::to_string(count.found) + " of " + std::to_string(count.regions) + "\n";
    return text;
}

} // namespace narvo

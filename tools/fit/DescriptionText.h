// The text of descriptions, as tools/tables/Description.h reads it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/tables/Description.h"

class DescriptionText {
public:
    void Comment(std::string_view text);
    void Line(std::string_view text);
    void AddShape(std::string_view name, Join join, const std::vector<CurvePoint>& points);
    // One shape again and again; starts in ms.
    void AddSequence(std::string_view name, std::string_view shape,
                     const std::vector<double>& starts);

    const std::string& Text() const { return text_; }

private:
    std::string text_;
};

// Without trailing zeros.
std::string NumberText(double value);

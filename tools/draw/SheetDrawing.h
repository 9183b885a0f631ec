// Draws a sheet as a PNG.
#pragma once

#include <string>

#include "tools/draw/SheetLayout.h"

struct PictureSize {
    int width;  // pixels
    int height;
};

// Throws std::runtime_error when the file cannot be written.
PictureSize DrawSheet(const Sheet& sheet, const std::string& path);

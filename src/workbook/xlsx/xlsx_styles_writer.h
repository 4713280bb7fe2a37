#pragma once
// The styles part of a package we write: one cellXfs entry per cell style, in the style's
// index order, so that a cell's s attribute is its style index.
#include <string>

#include "sheet/cell_styles.h"

namespace kes {

std::string xlsxStylesPart(const CellStyles& styles);

}  // namespace kes

#pragma once
#include <cstdint>

namespace kes {

constexpr int32_t kMaxRow = 1048575;     // 1,048,576 rows
constexpr int32_t kMaxColumn = 16383;    // 16,384 columns, A to XFD
// The most sheets a file may bring: each costs kilobytes however empty, and a few kilobytes of
// compressed workbook part can name hundreds of thousands of them.
constexpr int32_t kMaxSheets = 10000;

}  // namespace kes

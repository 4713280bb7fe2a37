#pragma once
#include <cstdint>

namespace kes {

constexpr int32_t kMaxRow = 1048575;     // 1,048,576 rows
constexpr int32_t kMaxColumn = 16383;    // 16,384 columns, A to XFD

}  // namespace kes

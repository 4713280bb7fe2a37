#pragma once
// The formatters of one parsed section, for the engine's own files. Each appends to `out` the
// text of a value that is not negative: the section chosen decides whether a sign goes before it.
#include <string>

#include "sheet/format/format_parse.h"
#include "sheet/format/format_settings.h"

namespace kes {

void appendNumberSection(const FormatSection& section, double magnitude, const FormatSettings& settings,
                         std::u16string& out);
void appendScientificSection(const FormatSection& section, double magnitude, const FormatSettings& settings,
                             std::u16string& out);
void appendFractionSection(const FormatSection& section, double magnitude, const FormatSettings& settings,
                           std::u16string& out);

// False, with nothing appended, when the serial is not a date Excel shows (before 1900-01-00 or from
// 10000-01-01 on).
bool appendDateSection(const FormatSection& section, double serial, const FormatSettings& settings,
                       std::u16string& out);

}  // namespace kes

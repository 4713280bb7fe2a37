// Date and time functions. Serials count in the workbook's date system (support.h).
#include <chrono>
#include <cmath>
#include <ctime>

#include "sheet/calc/functions/families.h"
#include "sheet/calc/functions/support.h"
#include "sheet/text_to_value.h"

namespace kes::calc {
namespace {

// The serial of the local date and time now, in the 1900 system.
double nowSerial() {
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm local{};
#ifdef _WIN32
    localtime_s(&local, &seconds);
#else
    localtime_r(&seconds, &local);
#endif
    const double millis = double(std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000);
    const auto day = dateSerial(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday);
    return (day ? *day : 0) + (local.tm_hour * 3600.0 + local.tm_min * 60.0 + local.tm_sec + millis / 1000.0) / 86400.0;
}

double workbookSerial(const Call& call, double serial1900) { return call.date1904() ? serial1900 - 1462 : serial1900; }

Value today(Call& call) { return Value::date(std::floor(workbookSerial(call, nowSerial()))); }
Value now(Call& call) { return Value::date(workbookSerial(call, nowSerial())); }

Value date(Call& call) {
    int64_t year = call.integer(0);
    const int64_t month = call.integer(1), day = call.integer(2);
    if (year < 0 || year > 9999) return Value::error(ecNUM);
    if (year < 1900) year += 1900;
    if (std::llabs(month) > 120000 || std::llabs(day) > 3000000) return Value::error(ecNUM);
    return Value::date(serialOf(call, int(year), int(month), int(day)));
}

Value year(Call& call) { return Value::number(dateOf(call, call.number(0)).year); }
Value month(Call& call) { return Value::number(dateOf(call, call.number(0)).month); }
Value day(Call& call) { return Value::number(dateOf(call, call.number(0)).day); }

constexpr FunctionSpec kFunctions[] = {
    {u"TODAY", 0, 0, "V", today, 221, kVolatile},
    {u"NOW", 0, 0, "V", now, 74, kVolatile},
    {u"DATE", 3, 3, "VVV", date, 65},
    {u"YEAR", 1, 1, "V", year, 69},
    {u"MONTH", 1, 1, "V", month, 68},
    {u"DAY", 1, 1, "V", day, 67},
};

}  // namespace

std::span<const FunctionSpec> dateTimeFunctions() { return kFunctions; }

}  // namespace kes::calc

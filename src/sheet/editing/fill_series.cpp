#include "sheet/editing/fill_series.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include "sheet/format/format_code.h"
#include "sheet/text_to_value.h"
#include "text/ascii_case.h"

namespace kes {
namespace {

// Excel's built-in fill lists, English and Chinese.
using NameList = std::vector<std::u16string_view>;
const std::array<NameList, 9>& nameLists() {
    static const std::array<NameList, 9> lists{{
        {u"Sun", u"Mon", u"Tue", u"Wed", u"Thu", u"Fri", u"Sat"},
        {u"Sunday", u"Monday", u"Tuesday", u"Wednesday", u"Thursday", u"Friday", u"Saturday"},
        {u"Jan", u"Feb", u"Mar", u"Apr", u"May", u"Jun", u"Jul", u"Aug", u"Sep", u"Oct", u"Nov", u"Dec"},
        {u"January", u"February", u"March", u"April", u"May", u"June", u"July", u"August", u"September", u"October",
         u"November", u"December"},
        {u"星期日", u"星期一", u"星期二", u"星期三", u"星期四", u"星期五", u"星期六"},
        {u"一月", u"二月", u"三月", u"四月", u"五月", u"六月", u"七月", u"八月", u"九月", u"十月", u"十一月", u"十二月"},
        {u"第一季", u"第二季", u"第三季", u"第四季"},
        {u"甲", u"乙", u"丙", u"丁", u"戊", u"己", u"庚", u"辛", u"壬", u"癸"},
        {u"子", u"丑", u"寅", u"卯", u"辰", u"巳", u"午", u"未", u"申", u"酉", u"戌", u"亥"},
    }};
    return lists;
}


int letterCaseOf(std::u16string_view text) {
    bool hasUpper = false, hasLower = false;
    for (char16_t c : text) {
        hasUpper = hasUpper || (c >= u'A' && c <= u'Z');
        hasLower = hasLower || (c >= u'a' && c <= u'z');
    }
    if (hasUpper && !hasLower && text.size() > 1) return 1;
    if (hasLower && !hasUpper) return -1;
    return 0;
}

bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

int64_t floorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }
int64_t floorMod(int64_t a, int64_t b) { return a - floorDiv(a, b) * b; }

// A whole number of days in a date serial, when it is one.
bool wholeDay(double serial) { return serial == std::floor(serial) && serial >= 1 && serial < 2958466; }

// The serial of the day `months` months after the date, the day kept or, past the month's
// end, its last day (31 January + 1 month is 28 or 29 February).
std::optional<double> addMonths(const Date& date, int64_t months) {
    const int64_t total = int64_t(date.year) * 12 + (date.month - 1) + months;
    const int year = int(floorDiv(total, 12)), month = int(floorMod(total, 12)) + 1;
    for (int day = date.day; day >= 28; --day) {
        if (auto serial = dateSerial(year, month, day)) return serial;
    }
    return dateSerial(year, month, std::min(date.day, 28));
}

// The longest number that keeps every digit exactly.
constexpr size_t kMaxDigits = 15;

}  // namespace

FillSeries::FillSeries(std::vector<SeriesSource> cells, bool toggled) : sources_(std::move(cells)) {
    for (const SeriesSource& source : sources_) {
        Cell cell = classify(source);
        if (cells_.empty() || !sameRun(cells_.back(), cell)) runs_.push_back({cells_.size(), 0});
        cell.run = runs_.size() - 1;
        ++runs_.back().length;
        cells_.push_back(std::move(cell));
    }
    for (Run& run : runs_) fitRun(run);
    const bool loneNumber = cells_.size() == 1 && cells_[0].kind == Kind::Number;
    copy_ = loneNumber != toggled;
}

FillSeries::Cell FillSeries::classify(const SeriesSource& source) {
    Cell cell;
    const CellValue& v = source.value;
    if (isNumericType(v.type)) {
        cell.kind = v.type == cdtDateTime || source.isDate ? Kind::Date : Kind::Number;
        cell.number = v.asFloat();
        return cell;
    }
    if (v.type != cdtString || v.text.empty()) return cell;
    const auto& lists = nameLists();
    for (size_t list = 0; list < lists.size(); ++list) {
        for (size_t i = 0; i < lists[list].size(); ++i) {
            if (equalsIgnoringAsciiCase(v.text, lists[list][i])) {
                cell.kind = Kind::ListItem;
                cell.list = int(list);
                cell.number = double(i);
                cell.letterCase = letterCaseOf(v.text);
                return cell;
            }
        }
    }
    // The number at the end of the text, else the one at its start: SN0001, 1号楼.
    const std::u16string& text = v.text;
    size_t begin = text.size(), end = text.size();
    while (begin > 0 && isDigit(text[begin - 1])) --begin;
    if (begin == end) {
        begin = end = 0;
        while (end < text.size() && isDigit(text[end])) ++end;
        if (end == 0) return cell;
        end = std::min(end, kMaxDigits);
    } else {
        if (end - begin > kMaxDigits) begin = end - kMaxDigits;
    }
    cell.kind = Kind::TextNumber;
    cell.prefix = text.substr(0, begin);
    cell.suffix = text.substr(end);
    cell.digits = end - begin;
    cell.number = 0;
    for (size_t i = begin; i < end; ++i) cell.number = cell.number * 10 + (text[i] - u'0');
    return cell;
}

bool FillSeries::sameRun(const Cell& a, const Cell& b) {
    if (a.kind != b.kind || a.kind == Kind::Other) return false;
    if (a.kind == Kind::TextNumber) return a.prefix == b.prefix && a.suffix == b.suffix;
    if (a.kind == Kind::ListItem) return a.list == b.list;
    return true;
}

void FillSeries::fitRun(Run& run) const {
    const Cell& first = cells_[run.first];
    run.start = first.number;
    if (run.length == 1) return;
    if (first.kind == Kind::ListItem) {
        // Mon, Wed -> Fri: the step from the first name to the second, round the list.
        const int64_t size = int64_t(nameLists()[size_t(first.list)].size());
        run.step = double(floorMod(int64_t(cells_[run.first + 1].number - first.number), size));
        return;
    }
    if (first.kind == Kind::Date) {
        // Dates on one day of the month, a whole number of months apart, continue by months.
        bool months = wholeDay(first.number);
        const Date d0 = months ? dateOfSerial(int64_t(first.number)) : Date{};
        int64_t monthStep = 0;
        for (size_t i = 1; months && i < run.length; ++i) {
            const double serial = cells_[run.first + i].number;
            if (!wholeDay(serial)) {
                months = false;
                break;
            }
            const Date prev = dateOfSerial(int64_t(cells_[run.first + i - 1].number));
            const Date d = dateOfSerial(int64_t(serial));
            const int64_t step = (int64_t(d.year) * 12 + d.month) - (int64_t(prev.year) * 12 + prev.month);
            months = d.day == d0.day && step != 0 && (i == 1 || step == monthStep);
            monthStep = step;
        }
        if (months) {
            run.monthStep = int(monthStep);
            return;
        }
    }
    // The least-squares line through the values, as Excel's trend: exact for an even step.
    double meanX = (double(run.length) - 1) / 2, meanY = 0;
    for (size_t i = 0; i < run.length; ++i) meanY += cells_[run.first + i].number;
    meanY /= double(run.length);
    double sxy = 0, sxx = 0;
    for (size_t i = 0; i < run.length; ++i) {
        const double dx = double(i) - meanX;
        sxy += dx * (cells_[run.first + i].number - meanY);
        sxx += dx * dx;
    }
    run.step = sxy / sxx;
    run.start = meanY - run.step * meanX;
}

CellValue FillSeries::valueOf(const Cell& cell, const Run& run, int64_t position) const {
    const double trend = run.start + run.step * double(position);
    const CellValue& original = sources_[run.first].value;
    switch (cell.kind) {
    case Kind::Number:
        if (original.type == cdtInteger && trend == std::floor(trend) && std::abs(trend) <= 2147483647.0)
            return CellValue::makeInteger(int32_t(trend));
        if (original.type == cdtCurrency) return CellValue::makeCurrency(std::llround(trend * 10000));
        return CellValue::makeFloat(trend);
    case Kind::Date: {
        double serial = trend;
        if (run.monthStep != 0) {
            serial = addMonths(dateOfSerial(int64_t(run.start)), int64_t(run.monthStep) * position).value_or(trend);
        }
        return original.type == cdtDateTime ? CellValue::makeDateTime(serial) : CellValue::makeFloat(serial);
    }
    case Kind::TextNumber: {
        // Counting down past zero, Excel goes on with the number's size: 1, 0, 1, 2.
        std::u16string digits;
        for (int64_t n = std::llabs(std::llround(trend)); n > 0 || digits.empty(); n /= 10)
            digits.insert(digits.begin(), char16_t(u'0' + n % 10));
        if (digits.size() < cell.digits) digits.insert(0, cell.digits - digits.size(), u'0');
        return CellValue::makeString(cell.prefix + digits + cell.suffix);
    }
    case Kind::ListItem: {
        const NameList& list = nameLists()[size_t(cell.list)];
        std::u16string name(list[size_t(floorMod(std::llround(trend), int64_t(list.size())))]);
        for (char16_t& c : name) c = cell.letterCase > 0 ? asciiUpper(c) : cell.letterCase < 0 ? asciiLower(c) : c;
        return CellValue::makeString(name);
    }
    case Kind::Other: break;
    }
    return original;
}

SeriesValue FillSeries::at(int64_t position) const {
    const int64_t n = int64_t(cells_.size());
    SeriesValue result;
    if (n == 0) return result;
    result.source = size_t(floorMod(position, n));
    result.cycle = floorDiv(position, n);
    const Cell& cell = cells_[result.source];
    if (copy_ || cell.kind == Kind::Other) return result;
    const Run& run = runs_[cell.run];
    const int64_t inRun = int64_t(result.source - run.first) + result.cycle * int64_t(run.length);
    result.value = valueOf(cell, run, inRun);
    return result;
}

}  // namespace kes

// CONVERT: a measure from one unit to another of the same kind, with Excel's units, their
// decimal prefixes (k, m, da...) and, for bits and bytes, binary ones (ki, Mi...).
#include <cmath>
#include <optional>
#include <string_view>
#include <unordered_map>

#include "sheet/calc/functions/add_in_arguments.h"
#include "sheet/calc/functions/engineering_support.h"

namespace kes::calc {
namespace {

enum class Kind : uint8_t { Mass, Distance, Time, Pressure, Force, Energy, Power, Magnetism, Temperature, Volume, Area, Information, Speed };

// A unit: how many of its kind's base unit it is (gram, metre, second, pascal, newton, joule,
// watt, tesla, kelvin, litre, square metre, bit, metre per hour), whether it takes a prefix,
// and the power the prefix is raised to (a square kilometre is a million square metres).
struct Unit {
    std::u16string_view name;
    Kind kind;
    double factor;
    bool prefixed = false;
    int power = 1;
};

constexpr double kInch = 0.0254, kFoot = 0.3048, kYard = 0.9144, kMile = 1609.344, kNauticalMile = 1852;
constexpr double kLightYear = 9460730472580800.0, kPica = kInch / 72;
constexpr double kSurveyMile = 1609.3472186944373;   // 5280 survey feet of 1200/3937 m
constexpr double kPoundMass = 453.59237, kGravity = 9.80665;
constexpr double kPoundForce = kPoundMass / 1000 * kGravity;
constexpr double kFootPound = kPoundForce * kFoot;
constexpr double kHorsepower = 550 * kFootPound;

constexpr double cube(double x) { return x * x * x; }
constexpr double square(double x) { return x * x; }

constexpr Unit kUnits[] = {
    {u"g", Kind::Mass, 1, true},
    {u"sg", Kind::Mass, kPoundForce / kFoot * 1000},
    {u"lbm", Kind::Mass, kPoundMass},
    {u"u", Kind::Mass, 1.660538782e-24, true},
    {u"ozm", Kind::Mass, kPoundMass / 16},
    {u"grain", Kind::Mass, 0.06479891},
    {u"cwt", Kind::Mass, 100 * kPoundMass},
    {u"shweight", Kind::Mass, 100 * kPoundMass},
    {u"uk_cwt", Kind::Mass, 112 * kPoundMass},
    {u"lcwt", Kind::Mass, 112 * kPoundMass},
    {u"hweight", Kind::Mass, 112 * kPoundMass},
    {u"stone", Kind::Mass, 14 * kPoundMass},
    {u"ton", Kind::Mass, 2000 * kPoundMass},
    {u"uk_ton", Kind::Mass, 2240 * kPoundMass},
    {u"LTON", Kind::Mass, 2240 * kPoundMass},
    {u"brton", Kind::Mass, 2240 * kPoundMass},

    {u"m", Kind::Distance, 1, true},
    {u"mi", Kind::Distance, kMile},
    {u"Nmi", Kind::Distance, kNauticalMile},
    {u"in", Kind::Distance, kInch},
    {u"ft", Kind::Distance, kFoot},
    {u"yd", Kind::Distance, kYard},
    {u"ang", Kind::Distance, 1e-10, true},
    {u"ell", Kind::Distance, 45 * kInch},
    {u"ly", Kind::Distance, kLightYear, true},
    {u"parsec", Kind::Distance, 3.0856775812815533e16, true},
    {u"pc", Kind::Distance, 3.0856775812815533e16, true},
    {u"Picapt", Kind::Distance, kPica},
    {u"Pica", Kind::Distance, kPica},
    {u"pica", Kind::Distance, kInch / 6},
    {u"survey_mi", Kind::Distance, kSurveyMile},

    {u"yr", Kind::Time, 365.25 * 86400},
    {u"day", Kind::Time, 86400},
    {u"d", Kind::Time, 86400},
    {u"hr", Kind::Time, 3600},
    {u"mn", Kind::Time, 60},
    {u"min", Kind::Time, 60},
    {u"sec", Kind::Time, 1, true},
    {u"s", Kind::Time, 1, true},

    {u"Pa", Kind::Pressure, 1, true},
    {u"p", Kind::Pressure, 1, true},
    {u"atm", Kind::Pressure, 101325, true},
    {u"at", Kind::Pressure, 101325, true},
    {u"mmHg", Kind::Pressure, 133.322, true},
    {u"psi", Kind::Pressure, kPoundForce / (kInch * kInch)},
    {u"Torr", Kind::Pressure, 101325.0 / 760},

    {u"N", Kind::Force, 1, true},
    {u"dyn", Kind::Force, 1e-5, true},
    {u"dy", Kind::Force, 1e-5, true},
    {u"lbf", Kind::Force, kPoundForce},
    {u"pond", Kind::Force, kGravity / 1000, true},

    {u"J", Kind::Energy, 1, true},
    {u"e", Kind::Energy, 1e-7, true},
    {u"c", Kind::Energy, 4.184, true},
    {u"cal", Kind::Energy, 4.1868, true},
    {u"eV", Kind::Energy, 1.602176487e-19, true},
    {u"ev", Kind::Energy, 1.602176487e-19, true},
    {u"HPh", Kind::Energy, kHorsepower * 3600},
    {u"hh", Kind::Energy, kHorsepower * 3600},
    {u"Wh", Kind::Energy, 3600, true},
    {u"wh", Kind::Energy, 3600, true},
    {u"flb", Kind::Energy, kFootPound},
    {u"BTU", Kind::Energy, 1055.05585262},
    {u"btu", Kind::Energy, 1055.05585262},

    {u"HP", Kind::Power, kHorsepower},
    {u"h", Kind::Power, kHorsepower},
    {u"PS", Kind::Power, 735.49875},
    {u"W", Kind::Power, 1, true},
    {u"w", Kind::Power, 1, true},

    {u"T", Kind::Magnetism, 1, true},
    {u"ga", Kind::Magnetism, 1e-4, true},

    {u"C", Kind::Temperature, 0},
    {u"cel", Kind::Temperature, 0},
    {u"F", Kind::Temperature, 0},
    {u"fah", Kind::Temperature, 0},
    {u"K", Kind::Temperature, 1, true},
    {u"kel", Kind::Temperature, 1, true},
    {u"Rank", Kind::Temperature, 0},
    {u"Reau", Kind::Temperature, 0},

    {u"tsp", Kind::Volume, 0.00492892159375},
    {u"tspm", Kind::Volume, 0.005},
    {u"tbs", Kind::Volume, 0.01478676478125},
    {u"oz", Kind::Volume, 0.0295735295625},
    {u"cup", Kind::Volume, 0.2365882365},
    {u"pt", Kind::Volume, 0.473176473},
    {u"us_pt", Kind::Volume, 0.473176473},
    {u"uk_pt", Kind::Volume, 0.56826125, true},
    {u"qt", Kind::Volume, 0.946352946},
    {u"uk_qt", Kind::Volume, 1.1365225},
    {u"gal", Kind::Volume, 3.785411784},
    {u"uk_gal", Kind::Volume, 4.54609},
    {u"l", Kind::Volume, 1, true},
    {u"L", Kind::Volume, 1, true},
    {u"lt", Kind::Volume, 1, true},
    {u"ang3", Kind::Volume, 1e-27, true, 3},
    {u"ang^3", Kind::Volume, 1e-27, true, 3},
    {u"barrel", Kind::Volume, 158.987294928},
    {u"bushel", Kind::Volume, 35.23907016688},
    {u"ft3", Kind::Volume, cube(kFoot) * 1000},
    {u"ft^3", Kind::Volume, cube(kFoot) * 1000},
    {u"in3", Kind::Volume, cube(kInch) * 1000},
    {u"in^3", Kind::Volume, cube(kInch) * 1000},
    {u"ly3", Kind::Volume, cube(kLightYear) * 1000},
    {u"ly^3", Kind::Volume, cube(kLightYear) * 1000},
    {u"m3", Kind::Volume, 1000, true, 3},
    {u"m^3", Kind::Volume, 1000, true, 3},
    {u"mi3", Kind::Volume, cube(kMile) * 1000},
    {u"mi^3", Kind::Volume, cube(kMile) * 1000},
    {u"yd3", Kind::Volume, cube(kYard) * 1000},
    {u"yd^3", Kind::Volume, cube(kYard) * 1000},
    {u"Nmi3", Kind::Volume, cube(kNauticalMile) * 1000},
    {u"Nmi^3", Kind::Volume, cube(kNauticalMile) * 1000},
    {u"Picapt3", Kind::Volume, cube(kPica) * 1000},
    {u"Picapt^3", Kind::Volume, cube(kPica) * 1000},
    {u"Pica3", Kind::Volume, cube(kPica) * 1000},
    {u"Pica^3", Kind::Volume, cube(kPica) * 1000},
    {u"GRT", Kind::Volume, 100 * cube(kFoot) * 1000},
    {u"regton", Kind::Volume, 100 * cube(kFoot) * 1000},
    {u"MTON", Kind::Volume, 40 * cube(kFoot) * 1000},

    {u"uk_acre", Kind::Area, 4046.8564224},
    {u"us_acre", Kind::Area, 4046.8726098742522},
    {u"ang2", Kind::Area, 1e-20, true, 2},
    {u"ang^2", Kind::Area, 1e-20, true, 2},
    {u"ar", Kind::Area, 100, true},
    {u"ft2", Kind::Area, square(kFoot)},
    {u"ft^2", Kind::Area, square(kFoot)},
    {u"ha", Kind::Area, 10000},
    {u"in2", Kind::Area, square(kInch)},
    {u"in^2", Kind::Area, square(kInch)},
    {u"ly2", Kind::Area, square(kLightYear)},
    {u"ly^2", Kind::Area, square(kLightYear)},
    {u"m2", Kind::Area, 1, true, 2},
    {u"m^2", Kind::Area, 1, true, 2},
    {u"Morgen", Kind::Area, 2500},
    {u"mi2", Kind::Area, square(kMile)},
    {u"mi^2", Kind::Area, square(kMile)},
    {u"Nmi2", Kind::Area, square(kNauticalMile)},
    {u"Nmi^2", Kind::Area, square(kNauticalMile)},
    {u"Picapt2", Kind::Area, square(kPica)},
    {u"Picapt^2", Kind::Area, square(kPica)},
    {u"Pica2", Kind::Area, square(kPica)},
    {u"Pica^2", Kind::Area, square(kPica)},
    {u"yd2", Kind::Area, square(kYard)},
    {u"yd^2", Kind::Area, square(kYard)},

    {u"bit", Kind::Information, 1, true},
    {u"byte", Kind::Information, 8, true},

    {u"admkn", Kind::Speed, 6080 * kFoot},
    {u"kn", Kind::Speed, kNauticalMile},
    {u"m/h", Kind::Speed, 1, true},
    {u"m/hr", Kind::Speed, 1, true},
    {u"m/s", Kind::Speed, 3600, true},
    {u"m/sec", Kind::Speed, 3600, true},
    {u"mph", Kind::Speed, kMile, true},
};

struct Prefix {
    std::u16string_view name;
    double factor;
    bool binary = false;
};

constexpr Prefix kPrefixes[] = {
    {u"Y", 1e24}, {u"Z", 1e21}, {u"E", 1e18}, {u"P", 1e15}, {u"T", 1e12}, {u"G", 1e9}, {u"M", 1e6},
    {u"k", 1e3}, {u"h", 1e2}, {u"da", 1e1}, {u"e", 1e1}, {u"d", 1e-1}, {u"c", 1e-2}, {u"m", 1e-3},
    {u"u", 1e-6}, {u"n", 1e-9}, {u"p", 1e-12}, {u"f", 1e-15}, {u"a", 1e-18}, {u"z", 1e-21}, {u"y", 1e-24},
    {u"Yi", 0x1p80, true}, {u"Zi", 0x1p70, true}, {u"Ei", 0x1p60, true}, {u"Pi", 0x1p50, true},
    {u"Ti", 0x1p40, true}, {u"Gi", 0x1p30, true}, {u"Mi", 0x1p20, true}, {u"ki", 0x1p10, true},
};

const Unit* findUnit(std::u16string_view name) {
    static const std::unordered_map<std::u16string_view, const Unit*> byName = [] {
        std::unordered_map<std::u16string_view, const Unit*> map;
        for (const Unit& unit : kUnits) map.emplace(unit.name, &unit);
        return map;
    }();
    const auto it = byName.find(name);
    return it == byName.end() ? nullptr : it->second;
}

// A unit as written: a unit's name, or a prefix and the name of a unit that takes it.
struct Measure {
    const Unit* unit;
    double scale;
};

// Every way to read a unit: "pc" is a parsec, and a picocalorie too.
template <class Visit>
void readingsOf(std::u16string_view text, Visit&& visit) {
    if (const Unit* unit = findUnit(text)) visit(Measure{unit, 1});
    for (const Prefix& prefix : kPrefixes) {
        if (!text.starts_with(prefix.name)) continue;
        const Unit* unit = findUnit(text.substr(prefix.name.size()));
        if (!unit || !unit->prefixed || (prefix.binary && unit->kind != Kind::Information)) continue;
        visit(Measure{unit, std::pow(prefix.factor, unit->power)});
    }
}

// The first readings of the two units that measure the same kind of thing.
std::optional<std::pair<Measure, Measure>> matchUnits(std::u16string_view from, std::u16string_view to) {
    std::optional<std::pair<Measure, Measure>> match;
    readingsOf(from, [&](const Measure& a) {
        readingsOf(to, [&](const Measure& b) {
            if (!match && a.unit->kind == b.unit->kind) match.emplace(a, b);
        });
    });
    return match;
}

// Temperatures convert through kelvin with an offset.
double toKelvin(std::u16string_view unit, double value) {
    if (unit == u"C" || unit == u"cel") return value + 273.15;
    if (unit == u"F" || unit == u"fah") return (value - 32) * 5 / 9 + 273.15;
    if (unit == u"Rank") return value * 5 / 9;
    if (unit == u"Reau") return value * 5 / 4 + 273.15;
    return value;
}

double fromKelvin(std::u16string_view unit, double kelvin) {
    if (unit == u"C" || unit == u"cel") return kelvin - 273.15;
    if (unit == u"F" || unit == u"fah") return (kelvin - 273.15) * 9 / 5 + 32;
    if (unit == u"Rank") return kelvin * 9 / 5;
    if (unit == u"Reau") return (kelvin - 273.15) * 4 / 5;
    return kelvin;
}

Value convert(Call& call) {
    const double value = addInNumber(call, 0);
    const std::u16string fromText = call.text(1), toText = call.text(2);
    const auto units = matchUnits(fromText, toText);
    if (!units) return Value::error(ecNA);
    const Measure* from = &units->first;
    const Measure* to = &units->second;
    if (from->unit->kind == Kind::Temperature) {
        const double kelvin = toKelvin(from->unit->name, value * from->scale);
        return Value::number(fromKelvin(to->unit->name, kelvin) / to->scale);
    }
    return Value::number(value * from->unit->factor * from->scale / (to->unit->factor * to->scale));
}

constexpr FunctionSpec kFunctions[] = {
    {u"CONVERT", 3, 3, "VVV", convert, kNoBiffId, kAddIn},
};

}  // namespace

std::span<const FunctionSpec> unitConversionFunctions() { return kFunctions; }

}  // namespace kes::calc

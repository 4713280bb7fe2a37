// Functions that need the world outside the workbook: web services, OLAP cubes, real-time
// data servers, stock and image services, translation, add-in and DLL calls. Printing runs
// without any of them, so each gives what Excel shows when the service is not there; only
// ENCODEURL needs nothing and computes.
#include "sheet/calc/functions/families.h"
#include "sheet/calc/functions/support.h"
#include "text/utf8.h"

namespace kes::calc {
namespace {

// The arguments are still evaluated, and an error among them is the result, as in Excel.
Value unavailable(Call& call, FormulaErrorCode code) {
    for (size_t i = 0; i < call.count(); ++i) {
        const Value v = call.scalar(i);
        if (v.isError()) return v;
    }
    return Value::error(code);
}

// WEBSERVICE and FILTERXML: Excel gives #VALUE! for a service it cannot reach, and FILTERXML
// works on what WEBSERVICE brings.
Value webService(Call& call) { return unavailable(call, ecValue); }
Value filterXml(Call& call) { return unavailable(call, ecValue); }

// RTD: a real-time data server that is not running gives #N/A.
Value rtd(Call& call) { return unavailable(call, ecNA); }

// The CUBE functions name a workbook connection to an OLAP server; a connection the workbook
// does not hold is #NAME?. CUBESETCOUNT counts a set that such a function made.
Value cube(Call& call) { return unavailable(call, ecName); }
Value cubeSetCount(Call& call) { return unavailable(call, ecValue); }

// Services of Microsoft's cloud (stock history, pictures from the web, translation, linked
// data types, Copilot) show #CONNECT! or #BUSY! when they cannot be reached; workbook files keep
// such new errors as #VALUE!, which is what a cell can hold here.
Value cloudService(Call& call) { return unavailable(call, ecValue); }

// CALL and REGISTER.ID run code of a DLL, which Excel refuses from worksheet formulas.
Value dllCall(Call& call) { return unavailable(call, ecValue); }

// EUROCONVERT belongs to the Euro Currency Tools add-in; without it the name is unknown.
Value euroConvert(Call&) { return Value::error(ecName); }

// ENCODEURL: UTF-8 bytes percent-encoded, all but letters, digits and - _ . ~ as RFC 3986
// leaves them.
Value encodeUrl(Call& call) {
    const std::string bytes = toUtf8(call.text(0));
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::u16string out;
    for (const char c : bytes) {
        const unsigned char b = static_cast<unsigned char>(c);
        const bool plain = (b >= 'A' && b <= 'Z') || (b >= 'a' && b <= 'z') || (b >= '0' && b <= '9') || b == '-' ||
                           b == '_' || b == '.' || b == '~';
        if (plain) {
            out += char16_t(b);
        } else {
            out += u'%';
            out += char16_t(kHex[b >> 4]);
            out += char16_t(kHex[b & 15]);
        }
    }
    return Value::text(std::move(out));
}

constexpr FunctionSpec kFunctions[] = {
    {u"ENCODEURL", 1, 1, "V", encodeUrl, kNoBiffId, kFilePrefix},
    {u"WEBSERVICE", 1, 1, "V", webService, kNoBiffId, kFilePrefix},
    {u"FILTERXML", 2, 2, "VV", filterXml, kNoBiffId, kFilePrefix},
    {u"RTD", 3, kManyArgs, "V", rtd, 379},
    {u"CUBEKPIMEMBER", 3, 4, "V", cube, kNoBiffId},
    {u"CUBEMEMBER", 2, 3, "V", cube, kNoBiffId},
    {u"CUBEMEMBERPROPERTY", 3, 3, "V", cube, kNoBiffId},
    {u"CUBERANKEDMEMBER", 3, 4, "V", cube, kNoBiffId},
    {u"CUBESET", 2, 5, "V", cube, kNoBiffId},
    {u"CUBESETCOUNT", 1, 1, "V", cubeSetCount, kNoBiffId},
    {u"CUBEVALUE", 1, kManyArgs, "V", cube, kNoBiffId},
    {u"STOCKHISTORY", 2, kManyArgs, "V", cloudService, kNoBiffId, kFilePrefix},
    {u"IMAGE", 1, 5, "V", cloudService, kNoBiffId, kFilePrefix},
    {u"TRANSLATE", 1, 3, "V", cloudService, kNoBiffId, kFilePrefix},
    {u"DETECTLANGUAGE", 1, 1, "V", cloudService, kNoBiffId, kFilePrefix},
    {u"FIELDVALUE", 2, 2, "V", cloudService, kNoBiffId, kFilePrefix},
    {u"COPILOT", 1, kManyArgs, "V", cloudService, kNoBiffId, kFilePrefix},
    {u"CALL", 1, kManyArgs, "V", dllCall, 150},
    {u"REGISTER.ID", 2, 3, "V", dllCall, 267},
    {u"EUROCONVERT", 3, 5, "V", euroConvert, kNoBiffId, kAddIn},
};

}  // namespace

std::span<const FunctionSpec> webFunctions() { return kFunctions; }

}  // namespace kes::calc

#include "workbook/xls/biff_globals.h"

#include "sheet/sheet_bounds.h"

namespace kes::biff {
namespace {

// The names Excel gives its built-in defined names (a NAME record with fBuiltin holds one
// character of this list instead of a name).
std::u16string builtinName(uint8_t code) {
    static constexpr std::u16string_view kNames[] = {
        u"Consolidate_Area", u"Auto_Open",   u"Auto_Close",   u"Extract",       u"Database",
        u"Criteria",         u"Print_Area",  u"Print_Titles", u"Recorder",      u"Data_Form",
        u"Auto_Activate",    u"Auto_Deactivate", u"Sheet_Title", u"_FilterDatabase"};
    const std::u16string_view name = code < std::size(kNames) ? kNames[code] : std::u16string_view(u"Builtin");
    return u"_xlnm." + std::u16string(name);
}

std::u16string bookReference(int number) {
    const std::string digits = std::to_string(number);
    return u"[" + std::u16string(digits.begin(), digits.end()) + u"]";
}

}  // namespace

bool GlobalsReader::read(const Record& r) {
    const Version version = state_.version();
    switch (r.id) {
    case kFilePass: fail("the workbook is protected with a password");
    case kDateMode: {
        FormatSettings settings = state_.book.settings();
        settings.date1904 = get<uint16_t>(r.data, 0, "DATEMODE") == 1;
        state_.book.setSettings(settings);
        return true;
    }
    case kCodePage:
        // BIFF8 keeps its texts in UTF-16 whatever the record says.
        if (!state_.biff8()) state_.tokenNames.codePage = CodePage(get<uint16_t>(r.data, 0, "CODEPAGE"));
        return true;
    case kFormat2:   // BIFF2 and BIFF3: the text alone, formats numbered by their order
        state_.addFormat(state_.text(r.data, 0, 1, "FORMAT"));
        return true;
    case kFormat:
        if (version == Version::Biff4) state_.addFormat(state_.text(r.data, 2, 1, "FORMAT"));
        else state_.addFormat(state_.text(r.data, 2, state_.biff8() ? 2 : 1, "FORMAT"), get<uint16_t>(r.data, 0, "FORMAT"));
        return true;
    case kXf2:
    case kXf3:
    case kXf4:
    case kXf: state_.addXf(readXfRecord(r.data, version)); return true;
    case kFont:
    case kFont3: {
        FontRecord font = readFontRecord(r.data, version);
        font.font.name = state_.text(r.data, fontNameOffset(version), 1, "FONT");
        state_.addFont(std::move(font));
        return true;
    }
    case kFontColour2: state_.setLastFontColour(get<uint16_t>(r.data, 0, "FONTCOLOR")); return true;
    case kPalette: {
        const uint16_t count = get<uint16_t>(r.data, 0, "PALETTE");
        for (size_t i = 0; i < count; ++i) {
            const uint32_t rgba = get<uint32_t>(r.data, 2 + 4 * i, "PALETTE");   // red in the low byte
            state_.setPaletteEntry(i, ((rgba & 0xFF) << 16) | (rgba & 0xFF00) | ((rgba >> 16) & 0xFF));
        }
        return true;
    }
    case kBoundSheet:
    case kBundleSheet4:
        // The BOF's position, visibility, type, then the name.
        if (sheets.size() >= size_t(kMaxSheets)) fail("the workbook has more than " + std::to_string(kMaxSheets) + " sheets");
        sheets.push_back({state_.text(r.data, 6, 1, "BOUNDSHEET"), get<uint32_t>(r.data, 0, "BOUNDSHEET"),
                          get<uint8_t>(r.data, 5, "BOUNDSHEET")});
        state_.tokenNames.ownSheets.push_back(sheets.back().name);
        return true;
    case kSupBook: readSupBook(r); return true;
    case kExternName:
    case kExternName3: readExternName(r); return true;
    case kExternSheet: readExternSheet(r); return true;
    case kName:
    case kName3:
        names.push_back(readName(r));
        state_.tokenNames.definedNames.push_back(names.back().name);
        return true;
    case kSst: {
        ContinuedReader in(r, "SST");
        in.dword();
        const uint32_t unique = in.dword();
        for (uint32_t i = 0; i < unique && !in.atEnd(); ++i) state_.strings.push_back(in.unicodeString());
        return true;
    }
    default: return false;
    }
}

void GlobalsReader::finish() {
    for (const auto& [entry, sheetName] : ownSheetEntries_) {
        int32_t index = -1;
        for (size_t i = 0; i < sheets.size(); ++i) {
            if (sheets[i].name == sheetName) index = int32_t(i);
        }
        state_.tokenNames.externSheets[entry].first = state_.tokenNames.externSheets[entry].last = index;
    }
}

// SUPBOOK: this workbook's own sheets (0x0401), the add-in functions (0x3A01), or another
// workbook with its path and sheet names, which may go on in CONTINUE records; what EXTERNSHEET
// entries and names refer to.
void GlobalsReader::readSupBook(const Record& r) {
    TokenNames::Book book;
    const uint16_t sheetCount = get<uint16_t>(r.data, 0, "SUPBOOK");
    if (r.data.size() == 4 && get<uint16_t>(r.data, 2, "SUPBOOK") == 0x0401) {
        book.kind = TokenNames::Book::Kind::Own;
    } else if (r.data.size() == 4 && get<uint16_t>(r.data, 2, "SUPBOOK") == 0x3A01) {
        book.kind = TokenNames::Book::Kind::AddIn;
    } else {
        book.reference = bookReference(++externalBooks_);
        ContinuedReader in(r, "SUPBOOK");
        in.skip(2);
        if (!in.atEnd()) in.unicodeString();   // the path
        for (uint16_t i = 0; i < sheetCount && !in.atEnd(); ++i) book.sheets.push_back(in.unicodeString());
    }
    state_.tokenNames.books.push_back(std::move(book));
}

// BIFF8: a count of entries, each a SUPBOOK and a range of its sheets. Before: one record per
// entry, a text whose first character says what it names: 0x03 a sheet of this workbook (its
// name follows), 0x02 or 0x04 this workbook itself (for its add-in names), 0x01 another file
// (a sheet of it after its last 0x03); BIFF2-4 may give another file's name alone, a file
// being one sheet.
void GlobalsReader::readExternSheet(const Record& r) {
    TokenNames& tokens = state_.tokenNames;
    if (state_.biff8()) {
        const std::string data = r.joined();
        const uint16_t count = get<uint16_t>(data, 0, "EXTERNSHEET");
        if (size_t(count) * 6 + 2 > data.size()) fail("EXTERNSHEET record is too short for its " + std::to_string(count) + " entries");
        for (uint16_t i = 0; i < count; ++i) {
            const size_t at = 2 + size_t(i) * 6;
            tokens.externSheets.push_back({get<uint16_t>(data, at, "EXTERNSHEET"), get<int16_t>(data, at + 2, "EXTERNSHEET"),
                                           get<int16_t>(data, at + 4, "EXTERNSHEET")});
        }
        return;
    }
    const std::u16string text = state_.text(r.data, 0, 1, "EXTERNSHEET");
    TokenNames::Book book;
    const char16_t kind = text.empty() ? u'\x04' : text[0];
    if (kind == u'\x03') {
        book.kind = TokenNames::Book::Kind::Own;
        ownSheetEntries_.emplace_back(tokens.externSheets.size(), text.substr(1));
    } else if (kind == u'\x02' || kind == u'\x04') {
        book.kind = TokenNames::Book::Kind::AddIn;
    } else if (kind >= u' ') {
        book.sheets.push_back(text);
    } else {
        book.reference = bookReference(++externalBooks_);
        const size_t sheetAt = text.rfind(u'\x03');
        book.sheets.push_back(sheetAt == std::u16string::npos ? text.substr(1) : text.substr(sheetAt + 1));
    }
    tokens.externSheets.push_back({uint16_t(tokens.books.size()), 0, 0});
    tokens.books.push_back(std::move(book));
}

// An add-in function's or another workbook's name, under the SUPBOOK (BIFF8) or EXTERNSHEET
// before it: flags, then (BIFF5 and BIFF8) a reserved dword, then the name.
void GlobalsReader::readExternName(const Record& r) {
    if (state_.tokenNames.books.empty()) return;
    const size_t at = state_.version() >= Version::Biff5 ? 6 : 2;
    if (r.data.size() < at + 2) return;
    state_.tokenNames.books.back().names.push_back(state_.text(r.data, at, 1, "EXTERNNAME"));
}

// NAME (Lbl): flags, a key, the name's length, the formula's, (BIFF5 and BIFF8) the sheet and
// lengths of texts that follow, then the name and its tokens, then the extra data of its array
// constants. BIFF2 has an 8-bit formula length.
NameRecord GlobalsReader::readName(const Record& r) {
    const std::string data = r.joined();
    const Version version = state_.version();
    NameRecord name{{}, 0, false, {}, {}};
    const uint16_t flags = get<uint16_t>(data, 0, "NAME");
    const size_t length = get<uint8_t>(data, 3, "NAME");
    const size_t size = version == Version::Biff2 ? get<uint8_t>(data, 4, "NAME") : get<uint16_t>(data, 4, "NAME");
    size_t at = version == Version::Biff2 ? 5 : version <= Version::Biff4 ? 6 : 14;
    if (version >= Version::Biff5) name.sheet = get<uint16_t>(data, 8, "NAME");
    name.hidden = (flags & 1) != 0;
    const bool wide = state_.biff8() && (get<uint8_t>(data, at++, "NAME") & 1);
    const size_t bytes = length * (wide ? 2 : 1);
    if (data.size() < at || data.size() - at < bytes) fail("NAME record is too short for its name");
    if (!state_.biff8()) {
        state_.tokenNames.codePage.decodeAppend(std::string_view(data).substr(at, bytes), name.name);
    } else {
        for (size_t i = 0; i < length; ++i)
            name.name.push_back(wide ? get<char16_t>(data, at + 2 * i, "NAME") : char16_t(get<uint8_t>(data, at + i, "NAME")));
    }
    at += bytes;
    if (flags & 0x20) name.name = builtinName(name.name.empty() ? 0 : uint8_t(name.name[0]));
    if (at + size <= data.size()) {
        name.tokens = data.substr(at, size);
        name.extra = data.substr(at + size);
    }
    return name;
}

}  // namespace kes::biff

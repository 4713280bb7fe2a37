#include "kesprint.h"

#include <charconv>
#include <cstdio>
#include <exception>
#include <optional>
#include <string_view>

#include "form/label_tool_form.h"
#include "kes_version.h"
#include "sheet/cell_formula.h"
#include "sheet/workbook.h"
#include "text/utf8.h"
#include "workbook/workbook_files.h"

namespace kes::cli {
namespace {

constexpr int kUsageOrFailure = 2;

const char* const kUsage =
    "usage: kesprint cells FILE\n"
    "       kesprint print-page --fields LIST [FILE]\n"
    "       kesprint print-row ROW --fields LIST [FILE]   (ROW counts from 0, the header row)\n"
    "       kesprint convert IN OUT\n"
    "       kesprint format CODE VALUE\n"
    "       kesprint --version\n";

constexpr int kRefused = 3;

int fail(Output& output, std::string_view subject, std::string_view cause) {
    output.err += "kesprint: ";
    output.err += subject;
    output.err += ": ";
    output.err += cause;
    output.err += '\n';
    return kUsageOrFailure;
}

// The text a cell formatted with CODE shows for VALUE typed into it.
int format(const std::vector<std::u16string>& args, Output& output) {
    if (args.size() != 3) return fail(output, "format", "expects CODE VALUE");
    Workbook book;
    CellRef cell = book.activeSheet()->createCell(0, 0);
    cell.setStyle(book.styles().add(CellStyle{args[1]}));
    cell.setText(args[2], 1);
    output.out += toUtf8(cell.displayText());
    output.out += '\n';
    return 0;
}

std::string jsonString(std::u16string_view text) {
    std::string out = "\"";
    size_t plain = 0;   // start of the run of characters that need no escape
    const auto flush = [&](size_t end) { appendUtf8(out, text.substr(plain, end - plain)); };
    for (size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (c >= 0x20 && c != u'"' && c != u'\\') continue;
        flush(i);
        plain = i + 1;
        switch (c) {
        case u'"': out += "\\\""; break;
        case u'\\': out += "\\\\"; break;
        case u'\n': out += "\\n"; break;
        case u'\r': out += "\\r"; break;
        case u'\t': out += "\\t"; break;
        default: {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
            out += escaped;
        }
        }
    }
    flush(text.size());
    return out + "\"";
}

std::string jsonNumber(double value) {
    char buffer[32];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, end);
}

const char* typeName(CellDataType type) {
    static const char* const names[] = {"blank", "boolean", "error", "currency", "float", "datetime", "integer", "string", "formula"};
    return names[type];
}

std::string jsonValue(const CellValue& v) {
    switch (v.type) {
    case cdtBlank: return "null";
    case cdtBoolean: return v.boolean ? "true" : "false";
    case cdtError: return jsonString(errorText(v.error));
    case cdtString: return jsonString(v.text);
    default: return jsonNumber(v.asFloat());
    }
}

// Every non-blank cell of every sheet, one JSON object a line.
int cells(const std::vector<std::u16string>& args, Output& output) {
    if (args.size() != 2) return fail(output, "cells", "expects FILE");
    Workbook book;
    LoadFromFile(book, args[1]);
    for (int32_t s = 0; s < book.sheetCount(); ++s) {
        SheetTable& sheet = book.sheet(s);
        for (SheetRow* row = sheet.rows().first(); row; row = row->next) {
            for (SheetCell* cell = row->cells.first(); cell; cell = cell->next) {
                if (cell->type == cdtBlank) continue;
                const CellRef ref(&sheet, row, cell);
                const CellValue value = ref.formulaResult();
                // The other cells of an array formula hold no formula of their own (it is the top
                // left cell's): each shows a value of its result.
                const CellFormula* formula = ref.formula();
                const bool member = formula && formula->role == FormulaRole::ArrayMember;
                const CellDataType type = member ? value.type : cell->type;
                if (type == cdtBlank) continue;
                output.out += "{\"sheet\":" + std::to_string(s) + ",\"name\":" + jsonString(sheet.name()) +
                              ",\"row\":" + std::to_string(row->index) + ",\"col\":" + std::to_string(cell->index) +
                              ",\"type\":\"" + typeName(type) + "\",\"value\":" + jsonValue(value) +
                              ",\"text\":" + jsonString(ref.displayText()) + "}\n";
            }
        }
    }
    return 0;
}

int convert(const std::vector<std::u16string>& args, Output& output) {
    if (args.size() != 3) return fail(output, "convert", "expects IN OUT");
    Workbook book;
    LoadFromFile(book, args[1]);
    SaveToFile(book, args[2]);
    return 0;
}

// A whole session without a window: what the form would send is written, and nothing else.
class SessionPlatform : public FormPlatform {
public:
    void showMessage(const std::u16string& text) override { message = text; }
    void sendCopyData(HostWindow, uint16_t, uint32_t, const std::string& bytes) override { payload += bytes; }
    void sendPlain(HostWindow, uint16_t, uintptr_t) override {}
    Guid newGuid() override {
        ++counter;
        return {counter, 0, 0, {}};
    }
    std::u16string clipboardText() override { return {}; }
    void closeForm() override {}
    std::optional<std::u16string> chooseFileToOpen(const std::u16string&, int) override { return file; }
    std::optional<std::u16string> chooseFileToSave(const std::u16string&, int, const std::u16string&) override {
        return std::nullopt;
    }

    std::string payload;
    std::u16string message;
    std::optional<std::u16string> file;
    uint32_t counter = 0;
};

// print-page --fields LIST [FILE] and print-row ROW --fields LIST [FILE]
int print(const std::vector<std::u16string>& args, Output& output) {
    const bool page = args[0] == u"print-page";
    size_t i = 1;
    int32_t row = 0;
    if (!page) {
        if (args.size() < 2) return fail(output, "print-row", "expects ROW --fields LIST [FILE]");
        const std::string digits = toUtf8(args[1]);
        auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), row);
        if (ec != std::errc() || end != digits.data() + digits.size() || row < 0) return fail(output, "print-row", "ROW is a row index from 0");
        i = 2;
    }
    if (args.size() < i + 2 || args[i] != u"--fields" || args.size() > i + 3)
        return fail(output, toUtf8(args[0]), "expects --fields LIST [FILE]");
    SessionPlatform platform;
    TFrmLabelTool form(platform);
    form.MyHandle = 1;
    form.MyFDataSource = args[i + 1];
    form.FormShow();
    if (args.size() == i + 3) {
        platform.file = args[i + 2];
        form.btnInportClick();
    }
    try {
        if (page) {
            form.btnPrintAllClick();
        } else {
            form.SpreadBook.activeSheet()->selection().setFocused(row, 0);
            form.btnPrintOneClick();
        }
    } catch (const EAbort&) {
        output.err += toUtf8(platform.message) + "\n";
        return kRefused;
    }
    output.out += platform.payload;
    return 0;
}

}  // namespace

int run(const std::vector<std::u16string>& args, Output& output) {
    if (args.empty()) {
        output.err += kUsage;
        return kUsageOrFailure;
    }
    const std::u16string& command = args[0];
    if (command == u"--version" && args.size() == 1) {
        output.out += "kesprint " KES_VERSION_TEXT "\n";
        return 0;
    }
    try {
        if (command == u"format") return format(args, output);
        if (command == u"cells") return cells(args, output);
        if (command == u"convert") return convert(args, output);
        if (command == u"print-page" || command == u"print-row") return print(args, output);
    } catch (const std::exception& e) {
        const std::u16string& subject = command == u"convert" && args.size() > 2 ? args[1] : args.size() > 1 ? args.back() : command;
        return fail(output, toUtf8(subject), e.what());
    }
    output.err += kUsage;
    return kUsageOrFailure;
}

}  // namespace kes::cli

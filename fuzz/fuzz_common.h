#pragma once
// What the fuzz targets share: a workbook with known content, and the load that must either
// succeed or fail with a reader's error and leave that workbook exactly as it was. Anything
// else (another exception type, a changed workbook, a sanitizer report) ends the process, so
// libFuzzer keeps the input.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "sheet/workbook.h"
#include "workbook/native/binary_format.h"
#include "workbook/byte_stream.h"
#include "workbook/formats.h"
#include "workbook/workbook_errors.h"
#include "workbook/workbook_files.h"

namespace kes::fuzz {

[[noreturn]] inline void broken(const char* what) {
    std::fprintf(stderr, "fuzz invariant broken: %s\n", what);
    std::abort();
}

inline const SpreadSheetFormat& formatOf(std::u16string_view fileName) {
    const SpreadSheetFormat* format = SpreadSheetFormatsRepository::instance().Find(fileName);
    if (!format) broken("no format for the extension");
    return *format;
}

inline std::string snapshot(Workbook& book) {
    std::string out;
    NativeWriter().Write(book, out);
    return out;
}

// Two sheets, every value kind, a style and a formula: enough that a rollback which drops or
// changes anything shows in the snapshot.
inline void fillKnown(Workbook& book) {
    SheetTable& first = *book.activeSheet();
    first.createCell(0, 0).setText(u"\u54C1\u540D", 0);
    first.createCell(0, 1).setText(u"=SUM(A2:A3)", 1);
    first.createCell(1, 0).setText(u"42", 1);
    first.createCell(2, 0).setText(u"TRUE", 1);
    first.createCell(2, 1).setText(u"#N/A", 1);
    CellRef styled = first.createCell(3, 2);
    styled.setStyle(book.styles().add(CellStyle{u"0.00"}));
    styled.setText(u"12.5", 1);
    book.addSheet(u"Second").createCell(7, 3).setText(u"x", 0);
}

// Loads the bytes in the given format into a workbook with known content. A load that succeeds
// must give a workbook the native format can store and read back; one that fails must raise a
// reader's error and leave the workbook unchanged.
inline void loadChecked(const uint8_t* data, size_t size, const SpreadSheetFormat& format) {
    Workbook book;
    fillKnown(book);
    const std::string before = snapshot(book);
    ByteStream stream{std::string(reinterpret_cast<const char*>(data), size), 0};
    try {
        LoadFromStream(book, stream, format);
    } catch (const ESpreadSheetReaderError&) {
        if (snapshot(book) != before) broken("a failed load changed the workbook");
        return;
    }
    ByteStream saved{snapshot(book), 0};
    Workbook copy;
    try {
        copy.clearAll();
        NativeReader().Read(copy, saved);
    } catch (const ESpreadSheetReaderError& e) {
        std::fprintf(stderr, "%s\n", e.what());
        broken("the native format cannot read back a loaded workbook");
    }
}

}  // namespace kes::fuzz

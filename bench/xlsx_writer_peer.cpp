// The peer of our xlsx save: libxlsxwriter (C) writing the same cells as the label workbook,
// in its default mode and in its constant-memory mode, timed from its first call to the file
// closed, beside our SaveToFile of the same workbook. Built only where libxlsxwriter is.
#include <xlsxwriter.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <string>

#include "bench_util.h"
#include "text/utf8.h"
#include "workbook/workbook_files.h"

using namespace kes;

namespace {

// Every cell of the workbook's sheets, by value, with a format for each number format.
double writeWithLibxlsxwriter(Workbook& book, const std::string& path, bool constantMemory) {
    return bench::seconds([&] {
        lxw_workbook_options options{};
        options.constant_memory = constantMemory ? LXW_TRUE : LXW_FALSE;
        lxw_workbook* out = workbook_new_opt(path.c_str(), &options);
        std::map<uint16_t, lxw_format*> formats;
        for (int s = 0; s < book.sheetCount(); ++s) {
            SheetTable& sheet = book.sheet(s);
            lxw_worksheet* target = workbook_add_worksheet(out, toUtf8(sheet.name()).c_str());
            for (SheetRow* row = sheet.rows().first(); row; row = row->next) {
                for (SheetCell* cell = row->cells.first(); cell; cell = cell->next) {
                    const CellRef ref(&sheet, row, cell);
                    const CellValue value = ref.value();
                    lxw_format*& format = formats[cell->style];
                    if (!format && cell->style != 0) {
                        format = workbook_add_format(out);
                        format_set_num_format(format, toUtf8(book.styles()[cell->style].numberFormat).c_str());
                    }
                    const lxw_row_t r = lxw_row_t(row->index);
                    const lxw_col_t c = lxw_col_t(cell->index);
                    switch (value.type) {
                    case cdtString: worksheet_write_string(target, r, c, toUtf8(value.text).c_str(), format); break;
                    case cdtBoolean: worksheet_write_boolean(target, r, c, value.boolean, format); break;
                    case cdtFloat:
                    case cdtDateTime:
                    case cdtCurrency:
                    case cdtInteger: worksheet_write_number(target, r, c, value.asFloat(), format); break;
                    default: break;
                    }
                }
            }
        }
        workbook_close(out);
    });
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: bench_xlsx_writer_peer WORKBOOK.xlsx\n");
        return 2;
    }
    Workbook book;
    LoadFromFile(book, fromUtf8(argv[1]));
    const std::string base = std::string(argv[1]);
    const std::string ours = base + ".ours.xlsx", theirs = base + ".libxlsxwriter.xlsx";
    const std::string streamed = base + ".constant.xlsx";
    const double ourSave = bench::seconds([&] { SaveToFile(book, fromUtf8(ours)); });
    const double theirSave = writeWithLibxlsxwriter(book, theirs, false);
    const double streamedSave = writeWithLibxlsxwriter(book, streamed, true);
    const auto size = [](const std::string& path) { return std::filesystem::file_size(path) / 1e6; };
    std::printf("the same cells written by us and by libxlsxwriter %s\n", LXW_VERSION);
    bench::report("ours: SaveToFile", ourSave * 1000, "ms", 1500);
    bench::report("libxlsxwriter, default mode", theirSave * 1000, "ms", 0);
    bench::report("libxlsxwriter, constant memory", streamedSave * 1000, "ms", 0);
    const double larger = (size(ours) / size(theirs) - 1) * 100;
    std::printf("  files: ours %.2f MB, libxlsxwriter %.2f MB (constant memory %.2f MB)\n", size(ours), size(theirs),
                size(streamed));
    bench::report("ours larger than libxlsxwriter's by", larger, "%", 10);
    for (const std::string& path : {ours, theirs, streamed}) std::filesystem::remove(path);
    return 0;
}

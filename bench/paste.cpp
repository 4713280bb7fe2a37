// A pasted block of label rows: the clipboard text read as Excel writes it, then every cell set
// as typed text (formulas recognised) in one undoable action, as the grid's Ctrl+V does it.
#include <chrono>
#include <cstdio>
#include <string>

#include "bench_util.h"
#include "sheet/clipboard_text.h"
#include "sheet/workbook.h"

using namespace kes;

namespace {

double pasteMs(int32_t rows) {
    std::u16string text;
    for (int32_t r = 1; r <= rows; ++r) {
        const std::u16string n = bench::ascii(std::to_string(r));
        text += u"\u5185\u516D\u89D2\u87BA\u6813\tM6\u00D7" + n + u"\tGB/T 70.1\t" + n + u"\t" +
                bench::ascii(std::to_string(6901234500000LL + r)) + u"\t2026-11-22\tB" + n + u"\t\u4E2A\t12.5\tSKU-" + n +
                u"\t\"\u4E0A\u6D77\tA\u5382\"\t\u5907\u6CE8" + n + u"\r\n";
    }
    Workbook book;
    book.history().setEnabled(true);
    SheetTable& sheet = *book.activeSheet();
    const auto start = std::chrono::steady_clock::now();
    const TextBlock block = parseClipboardText(text);
    book.history().beginAction();
    for (size_t r = 0; r < block.size(); ++r) {
        for (size_t c = 0; c < block[r].size(); ++c) {
            CellRef cell = sheet.createCell(int32_t(r) + 1, int32_t(c));
            cell.setText(block[r][c], 1);
        }
    }
    book.history().endAction();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

int main() {
    std::printf("paste of tab-separated label rows, 12 columns, undo recorded\n");
    bench::report("paste 10,000 rows", pasteMs(10000), "ms", 1000);
    bench::report("paste 100,000 rows", pasteMs(100000), "ms", 0);
    return 0;
}

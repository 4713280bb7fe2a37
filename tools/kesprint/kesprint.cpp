#include "kesprint.h"

#include <exception>
#include <string_view>

#include "sheet/workbook.h"
#include "text/utf8.h"

namespace kes::cli {
namespace {

constexpr int kUsageOrFailure = 2;

const char* const kUsage =
    "usage: kesprint cells FILE\n"
    "       kesprint print-page --fields LIST [FILE]\n"
    "       kesprint print-row ROW --fields LIST [FILE]\n"
    "       kesprint convert IN OUT\n"
    "       kesprint format CODE VALUE\n";

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

}  // namespace

int run(const std::vector<std::u16string>& args, Output& output) {
    if (args.empty()) {
        output.err += kUsage;
        return kUsageOrFailure;
    }
    const std::u16string& command = args[0];
    try {
        if (command == u"format") return format(args, output);
        if (command == u"cells" || command == u"print-page" || command == u"print-row" || command == u"convert")
            return fail(output, toUtf8(command), "not yet supported");
    } catch (const std::exception& e) {
        return fail(output, toUtf8(command), e.what());
    }
    output.err += kUsage;
    return kUsageOrFailure;
}

}  // namespace kes::cli

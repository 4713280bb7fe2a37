#pragma once
// The records of a worksheet's substream, in the layout of each version: its cells and their
// cell formats, formulas (shared and array ones), column widths and merged areas. Substreams
// nested in it (an embedded chart's) are passed over whole.
#include "workbook/xls/biff_globals.h"

namespace kes::biff {

// Reads the sheet's records up to its EOF; a worksheet stream of BIFF2-4 holds the globals'
// records too, which go to `globals` when given.
void readSheetRecords(RecordStream& records, SheetTable& sheet, WorkbookState& state, GlobalsReader* globals = nullptr);

}  // namespace kes::biff

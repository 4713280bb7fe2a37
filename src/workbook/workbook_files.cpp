#include "workbook/workbook_files.h"

#include "sheet/history_lock.h"
#include "workbook/formats.h"
#include "workbook/native/binary_format.h"
#include "workbook/file_io.h"
#include "workbook/workbook_errors.h"

namespace kes {
namespace {

// Swaps a format's own settings in for the workbook's while it loads or saves. The date system
// is the file's, so a load keeps the one it read.
class SettingsScope {
public:
    SettingsScope(Workbook& book, const SpreadSheetFormat& format, bool keepDateSystem)
        : book_(book), own_(book.settings()), keepDateSystem_(keepDateSystem) {
        if (auto settings = format.CreateFormatSettings()) {
            settings->date1904 = own_.date1904;
            book_.setSettings(*settings);
            swapped_ = true;
        }
    }
    ~SettingsScope() {
        if (!swapped_) return;
        FormatSettings restored = own_;
        if (keepDateSystem_) restored.date1904 = book_.settings().date1904;
        book_.setSettings(restored);
    }
    SettingsScope(const SettingsScope&) = delete;
    SettingsScope& operator=(const SettingsScope&) = delete;

private:
    Workbook& book_;
    FormatSettings own_;
    bool keepDateSystem_;
    bool swapped_ = false;
};

}  // namespace

void LoadFromStream(Workbook& book, ByteStream& stream, const SpreadSheetFormat& format) {
    if (!format.GetReader()) throw ESpreadSheetFormatError();
    const HistoryLock lock(book.history());
    book.history().clear();   // a load can never be undone
    {
        const SettingsScope settings(book, format, true);
        std::string snapshot;
        NativeWriter().Write(book, snapshot);
        try {
            book.clearAll();
            format.CreateReader()->Read(book, stream);
            if (book.sheetCount() == 0) book.addSheet(u"");
            if (!book.activeSheet()) book.setActiveSheetIndex(0);
        } catch (...) {
            ByteStream previous{std::move(snapshot), 0};
            book.clearAll();
            NativeReader().Read(book, previous);
            throw;
        }
    }
    book.history().clear();
    book.modified = false;
}

void LoadFromStream(Workbook& book, ByteStream& stream) {
    const SpreadSheetFormatsRepository& formats = SpreadSheetFormatsRepository::instance();
    for (size_t i = 0; i < formats.count(); ++i) {
        const SpreadSheetFormat& format = formats.GetItem(i);
        if (format.CanCheckByContent() && format.CanReadFromStream(stream)) {
            LoadFromStream(book, stream, format);
            return;
        }
    }
    throw ESpreadSheetFormatError();
}

void LoadFromFile(Workbook& book, std::u16string_view fileName) {
    ByteStream stream{readWholeFile(fileName), 0};
    if (const SpreadSheetFormat* format = SpreadSheetFormatsRepository::instance().Find(fileName)) {
        if (!format->CanCheckByContent() || format->CanReadFromStream(stream)) {
            LoadFromStream(book, stream, *format);
            return;
        }
    }
    LoadFromStream(book, stream);
}

void SaveToStream(Workbook& book, std::string& out, const SpreadSheetFormat* format) {
    const SpreadSheetFormat& chosen = format ? *format : binaryFormat();
    if (!chosen.GetWriter()) throw ESpreadSheetFormatError();
    const SettingsScope settings(book, chosen, false);
    chosen.CreateWriter()->Write(book, out);
}

void SaveToFile(Workbook& book, std::u16string_view fileName) {
    const SpreadSheetFormat* format = SpreadSheetFormatsRepository::instance().Find(fileName);
    if (!format) throw ESpreadSheetFormatError();
    OutputFile file(fileName);   // made first: a format without a writer leaves it empty
    std::string bytes;
    SaveToStream(book, bytes, format);
    file.write(bytes);
}

}  // namespace kes

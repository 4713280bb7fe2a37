#pragma once
// A table of records held in memory only, with fixed-size text fields counted in bytes of the
// ANSI code page: the print records of the quick print form live here between a print command
// and its message to the host.
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "text/ansi_code_page.h"

namespace kes {

class EDatabaseError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class RecordTable;

// A text field: what is written keeps at most `size` bytes in the code page, cut silently.
class StringField {
public:
    const std::u16string& name() const { return name_; }
    uint32_t size() const { return size_; }

    void SetAsString(std::u16string_view text);
    void SetAsInteger(int64_t value);
    std::u16string AsString() const;
    // AsString appended to `out`, for callers that join many records into one text.
    void AppendAsString(std::u16string& out) const;
    // AsString appended to `out` as UTF-8, without a UTF-16 copy of the whole.
    void AppendAsUtf8(std::string& out) const;

private:
    friend class RecordTable;
    StringField(RecordTable& table, size_t index, std::u16string name, uint32_t size)
        : table_(&table), index_(index), name_(std::move(name)), size_(size) {}

    RecordTable* table_;
    size_t index_;
    std::u16string name_;
    uint32_t size_;
};

class RecordTable {
public:
    enum class State { Inactive, Browsing, Editing, Inserting };

    explicit RecordTable(const AnsiCodePage& codePage = systemAnsiCodePage()) : codePage_(&codePage) {}
    RecordTable(RecordTable&& other) noexcept;
    RecordTable(const RecordTable&) = delete;
    RecordTable& operator=(const RecordTable&) = delete;

    void addStringField(std::u16string name, uint32_t size);

    void Close();
    void Open();
    void Edit();
    void Append();
    void Post();
    void First();
    void Next();
    bool Eof() const { return eof_; }
    // Throws EDatabaseError "Field 'NAME' not found" for an unknown name.
    StringField& FieldByName(std::u16string_view name);

    State state() const { return state_; }
    size_t recordCount() const { return fields_.empty() ? 0 : values_.size() / fields_.size(); }
    // The bytes the table holds for its records: a bound on the length of their texts.
    size_t storedBytes() const { return storedBytes_; }

private:
    friend class StringField;
    // A field's bytes in the table's store: at most the field's size, no zero byte inside.
    struct Value {
        const char* bytes;
        uint32_t length;
        bool assigned;
    };
    // The values of all records, record after record, in chunks that never move.
    class ValueStore {
    public:
        size_t size() const { return size_; }
        Value& operator[](size_t i) { return chunks_[i / kChunk][i % kChunk]; }
        const Value& operator[](size_t i) const { return chunks_[i / kChunk][i % kChunk]; }
        void push_back(const Value& value);
        void clear() { chunks_.clear(), size_ = 0; }

    private:
        static constexpr size_t kChunk = 65536;
        std::vector<std::unique_ptr<Value[]>> chunks_;
        size_t size_ = 0;
    };

    void finishPending();
    Value& writableValue(size_t field);
    const Value* readableValue(size_t field) const;
    const char* store(std::string_view bytes);

    const AnsiCodePage* codePage_;
    std::vector<StringField> fields_;
    // Every record's values, record after record, and blocks that hold all their bytes: a print
    // of 100,000 rows makes a few dozen blocks instead of half a million small strings, and
    // neither a value nor a block ever moves. The store only grows until the table is closed; a rewritten or
    // dropped value leaves its old bytes behind.
    ValueStore values_;
    std::vector<std::unique_ptr<char[]>> blocks_;
    size_t blockUsed_ = 0;
    size_t storedBytes_ = 0;
    std::string scratch_;
    std::vector<Value> pending_;
    bool pendingIsCurrent_ = false;   // an edit that has written nothing yet reads the current record
    bool pendingModified_ = false;
    State state_ = State::Inactive;
    size_t current_ = 0;
    bool eof_ = true;
    int64_t recordCounter_ = 0;
};

// The form's print record table: FID 50, FLableCode 50, FLableVer 50, FJson 5000, FPrinter 50.
RecordTable makeTempPrintTable();

}  // namespace kes

#include "records/record_table.h"

#include <algorithm>

#include "text/prefault.h"
#include "text/utf8.h"

namespace kes {

RecordTable::RecordTable(RecordTable&& other) noexcept
    : codePage_(other.codePage_), fields_(std::move(other.fields_)), values_(std::move(other.values_)),
      blocks_(std::move(other.blocks_)), blockUsed_(other.blockUsed_), storedBytes_(other.storedBytes_),
      pending_(std::move(other.pending_)), pendingIsCurrent_(other.pendingIsCurrent_), pendingModified_(other.pendingModified_),
      state_(other.state_), current_(other.current_), eof_(other.eof_), recordCounter_(other.recordCounter_) {
    for (StringField& field : fields_) field.table_ = this;
}

void RecordTable::addStringField(std::u16string name, uint32_t size) {
    fields_.push_back(StringField(*this, fields_.size(), std::move(name), size));
}

void RecordTable::Close() {
    values_.clear();
    blocks_.clear();
    blockUsed_ = 0;
    storedBytes_ = 0;
    // A pending edit goes too: one that still pointed at its record would read freed values.
    pending_.clear();
    pendingIsCurrent_ = false;
    pendingModified_ = false;
    state_ = State::Inactive;
    current_ = 0;
    eof_ = true;
}

void RecordTable::Open() {
    if (state_ != State::Inactive) return;
    state_ = State::Browsing;
    current_ = 0;
    eof_ = true;
}

void RecordTable::finishPending() {
    if (state_ != State::Editing && state_ != State::Inserting) return;
    if (pendingModified_) Post();
    else state_ = State::Browsing;
    pendingIsCurrent_ = false;
}

void RecordTable::Edit() {
    if (state_ == State::Inactive) throw EDatabaseError("Cannot perform this operation on a closed dataset");
    if (recordCount() == 0) {   // nothing to edit: start a new record, as Insert does
        finishPending();
        state_ = State::Inserting;
        pending_.assign(fields_.size(), Value{});
        pendingModified_ = false;
        return;
    }
    finishPending();
    state_ = State::Editing;
    pendingIsCurrent_ = true;   // copied on the first write only: most edits are dropped unchanged
    pendingModified_ = false;
}

void RecordTable::Append() {
    if (state_ == State::Inactive) throw EDatabaseError("Cannot perform this operation on a closed dataset");
    finishPending();
    state_ = State::Inserting;
    pending_.assign(fields_.size(), Value{});
    pendingModified_ = false;
}

void RecordTable::Post() {
    const size_t width = fields_.size();
    if (state_ == State::Editing) {
        if (!pendingIsCurrent_) {
            for (size_t i = 0; i < width; ++i) values_[current_ * width + i] = pending_[i];
        }
    } else if (state_ == State::Inserting) {
        ++recordCounter_;
        // A record is only ever inserted by Append, or by Edit on an empty table: at the end.
        for (const Value& value : pending_) values_.push_back(value);
        current_ = recordCount() - 1;
    } else {
        return;
    }
    pending_.clear();
    pendingIsCurrent_ = false;
    pendingModified_ = false;
    state_ = State::Browsing;
    eof_ = false;
}

void RecordTable::First() {
    finishPending();
    current_ = 0;
    eof_ = recordCount() == 0;
}

void RecordTable::Next() {
    finishPending();
    if (current_ + 1 < recordCount()) ++current_;
    else eof_ = true;
}

StringField& RecordTable::FieldByName(std::u16string_view name) {
    for (StringField& field : fields_) {
        if (field.name() == name) return field;
    }
    throw EDatabaseError("Field '" + toUtf8(name) + "' not found");
}

RecordTable::Value& RecordTable::writableValue(size_t field) {
    if (state_ != State::Editing && state_ != State::Inserting) throw EDatabaseError("Dataset not in edit or insert mode");
    if (pendingIsCurrent_) {
        pending_.resize(fields_.size());
        for (size_t i = 0; i < fields_.size(); ++i) pending_[i] = values_[current_ * fields_.size() + i];
        pendingIsCurrent_ = false;
    }
    pendingModified_ = true;
    return pending_[field];
}

const RecordTable::Value* RecordTable::readableValue(size_t field) const {
    const size_t current = current_ * fields_.size() + field;
    if (state_ == State::Editing && pendingIsCurrent_) return &values_[current];
    if (state_ == State::Editing || state_ == State::Inserting) return &pending_[field];
    if (state_ == State::Inactive || recordCount() == 0) return nullptr;
    return &values_[current];
}

void RecordTable::ValueStore::push_back(const Value& value) {
    if (size_ % kChunk == 0 && size_ / kChunk == chunks_.size()) {
        chunks_.push_back(std::make_unique_for_overwrite<Value[]>(kChunk));
        prefaultForWriting(chunks_.back().get(), kChunk * sizeof(Value));
    }
    (*this)[size_++] = value;
}

namespace {
constexpr size_t kBlockSize = 1 << 20;   // larger than any field, so a value never spans two blocks
}

const char* RecordTable::store(std::string_view bytes) {
    if (blocks_.empty() || blockUsed_ + bytes.size() > kBlockSize) {
        blocks_.push_back(std::make_unique_for_overwrite<char[]>(kBlockSize));
        prefaultForWriting(blocks_.back().get(), kBlockSize);
        blockUsed_ = 0;
    }
    char* at = blocks_.back().get() + blockUsed_;
    std::copy(bytes.begin(), bytes.end(), at);
    blockUsed_ += bytes.size();
    storedBytes_ += bytes.size();
    return at;
}

void StringField::SetAsString(std::u16string_view text) {
    RecordTable::Value& value = table_->writableValue(index_);
    std::string& bytes = table_->scratch_;
    bytes.clear();
    table_->codePage_->encodeAppend(text, bytes);
    std::string_view kept = std::string_view(bytes).substr(0, size_);   // cut silently, on a byte count
    kept = kept.substr(0, kept.find('\0'));
    value = {table_->store(kept), static_cast<uint32_t>(kept.size()), true};
}

void StringField::SetAsInteger(int64_t value) {
    const std::string digits = std::to_string(value);
    SetAsString(std::u16string(digits.begin(), digits.end()));
}

void StringField::AppendAsUtf8(std::string& out) const {
    const RecordTable::Value* value = table_->readableValue(index_);
    if (value && value->assigned) table_->codePage_->decodeAppendUtf8(std::string_view(value->bytes, value->length), out);
}

std::u16string StringField::AsString() const {
    std::u16string text;
    AppendAsString(text);
    return text;
}

void StringField::AppendAsString(std::u16string& out) const {
    const RecordTable::Value* value = table_->readableValue(index_);
    if (value && value->assigned) table_->codePage_->decodeAppend(std::string_view(value->bytes, value->length), out);
}

RecordTable makeTempPrintTable() {
    RecordTable table;
    table.addStringField(u"FID", 50);
    table.addStringField(u"FLableCode", 50);
    table.addStringField(u"FLableVer", 50);
    table.addStringField(u"FJson", 5000);
    table.addStringField(u"FPrinter", 50);
    return table;
}

}  // namespace kes

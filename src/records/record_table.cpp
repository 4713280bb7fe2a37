#include "records/record_table.h"

#include "text/utf8.h"

namespace kes {

RecordTable::RecordTable(RecordTable&& other) noexcept
    : codePage_(other.codePage_), fields_(std::move(other.fields_)), records_(std::move(other.records_)),
      pending_(std::move(other.pending_)), pendingIsCurrent_(other.pendingIsCurrent_), pendingModified_(other.pendingModified_), appending_(other.appending_),
      state_(other.state_), current_(other.current_), eof_(other.eof_), recordCounter_(other.recordCounter_) {
    for (StringField& field : fields_) field.table_ = this;
}

void RecordTable::addStringField(std::u16string name, uint32_t size) {
    fields_.push_back(StringField(*this, fields_.size(), std::move(name), size));
}

void RecordTable::Close() {
    records_.clear();
    pending_.clear();
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
    if (records_.empty()) {   // nothing to edit: start a new record, as Insert does
        finishPending();
        state_ = State::Inserting;
        appending_ = false;
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
    appending_ = true;
    pending_.assign(fields_.size(), Value{});
    pendingModified_ = false;
}

void RecordTable::Post() {
    if (state_ == State::Editing) {
        records_[current_] = std::move(pending_);
    } else if (state_ == State::Inserting) {
        ++recordCounter_;
        if (appending_ || records_.empty()) {
            records_.push_back(std::move(pending_));
            current_ = records_.size() - 1;
        } else {
            records_.insert(records_.begin() + static_cast<std::ptrdiff_t>(current_), std::move(pending_));
        }
    } else {
        return;
    }
    pending_.clear();
    pendingModified_ = false;
    state_ = State::Browsing;
    eof_ = false;
}

void RecordTable::First() {
    finishPending();
    current_ = 0;
    eof_ = records_.empty();
}

void RecordTable::Next() {
    finishPending();
    if (current_ + 1 < records_.size()) ++current_;
    else eof_ = true;
}

StringField& RecordTable::FieldByName(std::u16string_view name) {
    for (StringField& field : fields_) {
        if (field.name() == name) return field;
    }
    throw EDatabaseError("Field '" + toUtf8(name) + "' not found");
}

RecordTable::Record& RecordTable::writableRecord() {
    if (state_ != State::Editing && state_ != State::Inserting) throw EDatabaseError("Dataset not in edit or insert mode");
    if (pendingIsCurrent_) {
        pending_ = records_[current_];
        pendingIsCurrent_ = false;
    }
    pendingModified_ = true;
    return pending_;
}

const RecordTable::Value* RecordTable::readableValue(size_t field) const {
    if (state_ == State::Editing && pendingIsCurrent_) return &records_[current_][field];
    if (state_ == State::Editing || state_ == State::Inserting) return &pending_[field];
    if (state_ == State::Inactive || records_.empty()) return nullptr;
    return &records_[current_][field];
}

void StringField::SetAsString(std::u16string_view text) {
    RecordTable::Value& value = table_->writableRecord()[index_];
    std::string bytes = table_->codePage_->encode(text);
    if (bytes.size() > size_) bytes.resize(size_);   // silently, on a byte count
    if (const size_t zero = bytes.find('\0'); zero != std::string::npos) bytes.resize(zero);
    value.bytes = std::move(bytes);
    value.assigned = true;
}

void StringField::SetAsInteger(int64_t value) {
    const std::string digits = std::to_string(value);
    SetAsString(std::u16string(digits.begin(), digits.end()));
}

std::u16string StringField::AsString() const {
    const RecordTable::Value* value = table_->readableValue(index_);
    if (!value || !value->assigned) return {};
    return table_->codePage_->decode(value->bytes);
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

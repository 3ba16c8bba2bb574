// A block of rows is read as NUMBERs, loaded into decimal vectors, computed, and written. A block
// whose values are too far apart for one vector is halved until each part fits.
#include "calc_columns.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>

#include "calc/column_expression.h"
#include "command.h"
#include "csv_reader.h"

namespace kestra::tools {
namespace {

constexpr std::size_t kBlockRows = 16384;

// The values of one column in a block: packed NUMBERs, null pointers for missing ones.
struct Values {
  std::size_t field = 0;  // of a record, from 0
  std::string name;
  std::vector<std::uint8_t> area = std::vector<std::uint8_t>(kBlockRows * KES_NUMBER_BYTES);
  std::vector<const std::uint8_t*> numbers = std::vector<const std::uint8_t*>(kBlockRows);
  std::vector<std::uint16_t> lengths = std::vector<std::uint16_t>(kBlockRows);
};

bool IsNumber(std::string_view field) { return Number::Parse(field).has_value(); }

// Letters name columns that have no header: a to z, then aa, ab.
std::string LetterName(std::size_t i) {
  std::string name(1, static_cast<char>('a' + i % 26));
  return i < 26 ? name : LetterName(i / 26 - 1) + name;
}

class ColumnRun {
 public:
  explicit ColumnRun(const ColumnOptions& options)
      : options_(options), reader_(options.file, options.separator, "calc") {}

  int Run() {
    if (!ReadHeader()) throw ToolError(kInputOutput, reader_.name() + ": no rows");
    Parse();
    bool more = true;
    while (more) {
      if (has_pending_record_) {
        has_pending_record_ = false;
      } else {
        more = reader_.Next();
      }
      if (more) AddRow(reader_.Fields());
      if (rows_ == kBlockRows || !more) Flush();
    }
    WriteTotals();
    return reader_.Finish();
  }

 private:
  // The first record: names, or a row when all of its fields are numbers.
  bool ReadHeader() {
    if (!reader_.Next()) return false;
    const auto& fields = reader_.Fields();
    has_pending_record_ = std::all_of(fields.begin(), fields.end(), [](std::string_view field) {
      return field.empty() || IsNumber(field);
    });
    if (!has_pending_record_) header_.assign(fields.begin(), fields.end());
    return true;
  }

  // The field of a record that a name stands for, or the largest size_t.
  std::size_t FieldOf(std::string_view name) const {
    constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();
    for (std::size_t i = 0; i < header_.size(); ++i) {
      if (header_[i] == name) return i;
    }
    const bool letters = has_pending_record_ || !options_.columns.empty();
    const std::size_t known =
        options_.columns.empty() ? (letters ? 702 : 0) : options_.columns.size();
    for (std::size_t i = 0; i < known; ++i) {
      if (LetterName(i) == name) return options_.columns.empty() ? i : options_.columns[i] - 1;
    }
    return kNone;
  }

  int ColumnOf(std::string_view name) {
    const std::size_t field = FieldOf(name);
    if (field == std::numeric_limits<std::size_t>::max()) return -1;
    for (std::size_t i = 0; i < values_.size(); ++i) {
      if (values_[i].field == field) return static_cast<int>(i);
    }
    values_.emplace_back();
    values_.back().field = field;
    values_.back().name = name;
    columns_.push_back(std::make_unique<DecimalColumn>());
    return static_cast<int>(values_.size() - 1);
  }

  void Parse() {
    try {
      items_ = ParseColumnItems(options_.expression,
                                [this](std::string_view name) { return ColumnOf(name); });
    } catch (const CalcError& error) {
      std::string message =
          fmt::format("'{}', byte {}: {}", options_.expression, error.offset() + 1, error.what());
      if (!header_.empty())
        message += fmt::format("; the columns are {}", fmt::join(header_, ", "));
      throw ToolError(kUsage, message);
    }
    for (const ColumnItem& item : items_) {
      totals_.push_back(std::make_unique<TotalSoFar>(item.total));
      totals_only_ &= item.total != ColumnTotal::kNone;
    }
    const bool rows_only = std::all_of(items_.begin(), items_.end(), [](const ColumnItem& item) {
      return item.total == ColumnTotal::kNone;
    });
    if (!totals_only_ && !rows_only) {
      throw ToolError(kUsage, fmt::format("'{}': either totals or results for every row, not both",
                                          options_.expression));
    }
  }

  void AddRow(const std::vector<std::string_view>& fields) {
    lines_[rows_] = reader_.line();
    for (Values& column : values_) {
      column.numbers[rows_] = nullptr;
      column.lengths[rows_] = 0;
      std::string problem;
      std::optional<Number> number;
      if (column.field < fields.size()) {
        if (fields[column.field].empty()) continue;
        number = Number::ParseExact(fields[column.field], &problem);
      }
      if (!number) {
        reader_.ComplainOfField(column.field, column.name, problem);
        continue;
      }
      std::uint8_t* place = column.area.data() + rows_ * KES_NUMBER_BYTES;
      std::copy(number->data(), number->data() + number->size(), place);
      column.numbers[rows_] = place;
      column.lengths[rows_] = static_cast<std::uint16_t>(number->size());
    }
    ++rows_;
  }

  void Flush() {
    if (rows_ != 0) Compute(0, rows_);
    rows_ = 0;
    std::fwrite(output_.data(), 1, output_.size(), stdout);
    output_.clear();
  }

  int Load(std::size_t first, std::size_t count) {
    for (std::size_t i = 0; i < values_.size(); ++i) {
      const Values& column = values_[i];
      std::fill(nulls_.begin(), nulls_.end(), std::uint8_t{0});
      for (std::size_t row = 0; row < count; ++row) {
        if (column.numbers[first + row] == nullptr) {
          nulls_[row / 8] = static_cast<std::uint8_t>(nulls_[row / 8] | 1 << row % 8);
        }
      }
      const int status = ldsbvset_ons(nullptr, &columns_[i]->vector, KES_DSB_NARROWEST,
                                      KES_DSB_NO_SCALE, 0, count, column.numbers.data() + first,
                                      column.lengths.data() + first, nulls_.data(), 0);
      if (status != KES_DSB_OK) return status;
    }
    return KES_DSB_OK;
  }

  void Compute(std::size_t first, std::size_t count) {
    std::vector<const ldsbvector*> results(items_.size());
    const int loaded = Load(first, count);
    int status = loaded;
    // In a row of its own an item that fails has no result; the others have theirs.
    for (std::size_t i = 0; loaded == KES_DSB_OK && i < items_.size(); ++i) {
      const int item = EvaluateColumn(*items_[i].root, columns_, &results[i]);
      if (item == KES_DSB_OK) continue;
      results[i] = nullptr;
      status = item;
      if (item != KES_DSB_RANGE || count > 1) break;
    }
    if (status != KES_DSB_OK && status != KES_DSB_RANGE) {
      throw ToolError(kInputOutput, fmt::format("out of memory (status {})", status));
    }
    if (status == KES_DSB_RANGE && count > 1) {
      Compute(first, count / 2);
      Compute(first + count / 2, count - count / 2);
      return;
    }
    if (status == KES_DSB_RANGE) {
      reader_.Complain(
          fmt::format("line {}: the result needs more digits than a NUMBER holds", lines_[first]));
    }
    totals_only_ ? AddTotals(results, first, count) : WriteRows(results, count);
  }

  void AddTotals(const std::vector<const ldsbvector*>& results, std::size_t first,
                 std::size_t count) {
    for (std::size_t i = 0; i < items_.size(); ++i) {
      if (results[i] == nullptr || totals_[i]->Add(*results[i]) == KES_DSB_OK) continue;
      throw ToolError(kFound,
                      fmt::format("lines {} to {}: {} needs more digits than a NUMBER holds",
                                  lines_[first], lines_[first + count - 1], items_[i].text));
    }
  }

  std::string Text(const Number& number) const {
    return options_.model == nullptr ? number.Text() : number.Text(*options_.model);
  }

  void WriteRows(const std::vector<const ldsbvector*>& results, std::size_t count) {
    numbers_.assign(count * items_.size(), nullptr);
    lengths_.resize(count * items_.size());
    area_.resize(count * items_.size() * KES_NUMBER_PREFIXED_BYTES);
    std::uint8_t* next = area_.data();
    for (std::size_t i = 0; i < items_.size(); ++i) {
      std::size_t used = 0;
      if (results[i] == nullptr) continue;
      ldsbvget_pons(nullptr, results[i], 0, count, numbers_.data() + i * count,
                    lengths_.data() + i * count, next, count * KES_NUMBER_PREFIXED_BYTES, &used);
      next += used;
    }
    for (std::size_t row = 0; row < count; ++row) {
      if (options_.json && items_.size() > 1) output_ += '[';
      for (std::size_t i = 0; i < items_.size(); ++i) {
        if (i != 0) output_ += options_.json ? ',' : reader_.separator();
        WriteNumber(numbers_[i * count + row], lengths_[i * count + row]);
      }
      output_ += options_.json && items_.size() > 1 ? "]\n" : "\n";
    }
  }

  void WriteNumber(const std::uint8_t* number, std::size_t length) {
    if (number == nullptr) {
      if (options_.json) output_ += "null";
      return;
    }
    if (options_.json) output_ += '"';
    if (options_.model == nullptr) {
      std::uint8_t text[LNX_PLAIN_MAX];
      std::size_t size = 0;
      lnxtotext(number, length, nullptr, nullptr, text, sizeof text, &size);
      output_.append(reinterpret_cast<const char*>(text), size);
    } else {
      output_ += Text(Number::Make([&](std::uint8_t* out, std::size_t* out_length) {
        lnxcopy(number, length, out, out_length);
      }));
    }
    if (options_.json) output_ += '"';
  }

  void WriteTotals() const {
    if (!totals_only_) return;
    nlohmann::ordered_json answer;
    for (std::size_t i = 0; i < items_.size(); ++i) {
      const std::string text = totals_[i]->any() ? Text(totals_[i]->value()) : "";
      if (options_.json) {
        answer[items_[i].text] =
            text.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(text);
      } else if (items_.size() == 1) {
        fmt::print("{}\n", text);
      } else {
        fmt::print("{}\t{}\n", items_[i].text, text);
      }
    }
    if (options_.json) fmt::print("{}\n", answer.dump(2));
  }

  const ColumnOptions& options_;
  CsvReader reader_;
  bool has_pending_record_ = false;  // the first record is a row
  std::vector<std::string> header_;
  std::vector<Values> values_;
  std::vector<std::unique_ptr<DecimalColumn>> columns_;
  std::vector<ColumnItem> items_;
  std::vector<std::unique_ptr<TotalSoFar>> totals_;
  bool totals_only_ = true;
  std::size_t rows_ = 0;
  std::vector<std::uint64_t> lines_ = std::vector<std::uint64_t>(kBlockRows);
  std::vector<std::uint8_t> nulls_ = std::vector<std::uint8_t>(kBlockRows / 8);
  std::vector<const std::uint8_t*> numbers_;
  std::vector<std::uint16_t> lengths_;
  std::vector<std::uint8_t> area_;
  std::string output_;
};

}  // namespace

int CalculateColumns(const ColumnOptions& options) { return ColumnRun(options).Run(); }

}  // namespace kestra::tools

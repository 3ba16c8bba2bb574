#include "csv_reader.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "command.h"
#include "support/terminal.h"

namespace kestra::tools {
namespace {

constexpr std::size_t kLongestRecord = std::size_t{1} << 20;
constexpr std::uint64_t kMostComplaints = 20;
constexpr std::string_view kBlanks = " \t\r\v\f";

std::string_view Trimmed(std::string_view text, char separator) {
  const auto blank = [separator](char c) {
    return c != separator && kBlanks.find(c) != std::string_view::npos;
  };
  while (!text.empty() && blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && blank(text.back())) text.remove_suffix(1);
  return text;
}

// Where the record that begins at text ends: the line end outside of quotes, or npos.
std::size_t RecordEnd(std::string_view text, bool& in_quotes, std::size_t from) {
  for (std::size_t i = from; i < text.size();) {
    if (in_quotes) {
      const std::size_t quote = text.find('"', i);
      if (quote == std::string_view::npos) return quote;
      in_quotes = false;  // a doubled quote opens them again
      i = quote + 1;
      continue;
    }
    const void* newline = std::memchr(text.data() + i, '\n', text.size() - i);
    const std::size_t end =
        newline == nullptr
            ? text.size()
            : static_cast<std::size_t>(static_cast<const char*>(newline) - text.data());
    const void* quote = std::memchr(text.data() + i, '"', end - i);
    if (quote == nullptr) return newline == nullptr ? std::string_view::npos : end;
    in_quotes = true;
    i = static_cast<std::size_t>(static_cast<const char*>(quote) - text.data()) + 1;
  }
  return std::string_view::npos;
}

char SeparatorOf(std::string_view record) {
  for (const char c : {',', '\t', ';'}) {
    if (record.find(c) != std::string_view::npos) return c;
  }
  return ',';
}

}  // namespace

CsvReader::CsvReader(const std::string& path, const std::string& separator, std::string_view what)
    : input_(path),
      progress_(what, static_cast<std::size_t>(input_.size()), true, Progress::Unit::kBytes),
      buffer_(2 * kLongestRecord),
      separator_(separator.empty() ? '\0' : separator[0]) {
  if (separator.size() > 1) {
    throw ToolError(kUsage, fmt::format("--separator '{}' is not one byte", separator));
  }
}

bool CsvReader::Fill() {
  std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(begin_),
            buffer_.begin() + static_cast<std::ptrdiff_t>(end_), buffer_.begin());
  end_ -= begin_;
  begin_ = 0;
  const std::size_t read =
      input_.Read({reinterpret_cast<std::uint8_t*>(buffer_.data()) + end_, buffer_.size() - end_});
  end_ += read;
  progress_.Step(read);
  return read != 0;
}

bool CsvReader::Next() {
  do {
    bool in_quotes = false;
    bool last = false;
    std::size_t size = 0;
    std::size_t looked_at = 0;
    for (;;) {
      const std::string_view rest(buffer_.data() + begin_, end_ - begin_);
      size = RecordEnd(rest, in_quotes, looked_at);
      if (size != std::string_view::npos) break;
      looked_at = rest.size();
      if (looked_at > kLongestRecord) {
        throw ToolError(kInputOutput,
                        fmt::format("{}: line {}: a {} longer than 1 MiB", input_.name(),
                                    next_line_, in_quotes ? "quoted field" : "line"));
      }
      if (Fill()) continue;
      if (in_quotes) {
        throw ToolError(kInputOutput, fmt::format("{}: line {}: a quote is never closed",
                                                  input_.name(), next_line_));
      }
      last = true;
      size = looked_at;
      break;
    }
    if (last && size == 0) return false;
    record_ = buffer_.data() + begin_;
    record_size_ = size;
    line_ = next_line_;
    next_line_ += 1 + static_cast<std::uint64_t>(std::count(record_, record_ + size, '\n'));
    const std::size_t used = size + (last ? 0 : 1);
    begin_ += used;
    if (record_size_ != 0 && record_[record_size_ - 1] == '\r') --record_size_;
    if (line_ == 1 && record().substr(0, 3) == "\xEF\xBB\xBF") {  // a byte-order mark
      record_ += 3;
      record_size_ -= 3;
    }
  } while (record().find_first_not_of(kBlanks) == std::string_view::npos);
  if (separator_ == '\0') separator_ = SeparatorOf(record());
  return true;
}

void CsvReader::Warn(const std::string& message) const {
  fmt::print(stderr, "{} {}: {}\n", Styled(STDERR_FILENO, Style::kRed, "kestra:"), name(),
             PrintableMessage(message));
}

void CsvReader::Complain(const std::string& message) {
  if (++complaints_ <= kMostComplaints) Warn(message);
}

void CsvReader::ComplainOfField(std::size_t field, std::string_view name,
                                std::string_view problem) {
  const std::string label = name.empty() ? "" : fmt::format(" ({})", name);
  if (field >= fields_.size()) {
    Complain(fmt::format("line {}: no column {}{}", line_, field + 1, label));
  } else {
    Complain(fmt::format("line {}, column {}{}: '{}' {}", line_, field + 1, label, fields_[field],
                         problem));
  }
}

int CsvReader::Finish() const {
  if (complaints_ > kMostComplaints) Warn(fmt::format("{} more", complaints_ - kMostComplaints));
  return complaints_ == 0 ? kDone : kFound;
}

std::string_view CsvReader::Unquoted(std::string_view field) {
  field.remove_prefix(1);
  if (!field.empty() && field.back() == '"') field.remove_suffix(1);
  if (field.find('"') == std::string_view::npos) return field;
  const std::size_t begin = unquoted_.size();
  for (std::size_t i = 0; i < field.size(); ++i) {
    unquoted_.push_back(field[i]);
    if (field[i] == '"' && i + 1 < field.size() && field[i + 1] == '"') ++i;
  }
  return {unquoted_.data() + begin, unquoted_.size() - begin};
}

const std::vector<std::string_view>& CsvReader::Fields() {
  fields_.clear();
  unquoted_.clear();
  unquoted_.reserve(record_size_);  // so that fields in it stay where they are
  std::string_view rest = record();
  for (;;) {
    std::size_t end = rest.find(separator_);
    const std::size_t quote = rest.substr(0, end).find('"');
    if (quote != std::string_view::npos) {
      bool in_quotes = false;
      for (end = 0; end < rest.size() && (in_quotes || rest[end] != separator_); ++end) {
        in_quotes ^= rest[end] == '"';
      }
      if (end == rest.size()) end = std::string_view::npos;
    }
    const std::string_view field = Trimmed(rest.substr(0, end), separator_);
    fields_.push_back(!field.empty() && field.front() == '"' ? Unquoted(field) : field);
    if (end == std::string_view::npos) return fields_;
    rest.remove_prefix(end + 1);
  }
}

void AppendCsvField(std::string& out, std::string_view field, char separator) {
  const bool blank_ends = !field.empty() && (field.front() == ' ' || field.back() == ' ');
  const char special[] = {separator, '"', '\n', '\r'};
  if (!blank_ends &&
      field.find_first_of(std::string_view(special, sizeof special)) == std::string_view::npos) {
    out += field;
    return;
  }
  out += '"';
  for (const char c : field) {
    if (c == '"') out += '"';
    out += c;
  }
  out += '"';
}

}  // namespace kestra::tools

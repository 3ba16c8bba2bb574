// Records of a CSV file (RFC 4180), or the lines of any text, one after the other in memory that
// does not grow with the file. Fields may be quoted: "a,b", "say ""no""", also over several lines.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "support/files.h"

namespace kestra::tools {

class CsvReader {
 public:
  explicit CsvReader(const std::string& path);

  // Reads the next record that is not blank; false: there are no more. Throws ToolError: a record
  // longer than 1 MiB, a quote that is never closed.
  bool Next();

  // What lies between separators; set before the fields of a record are asked for.
  void set_separator(char separator) { separator_ = separator; }
  // The record as it stands, without the end of its line.
  std::string_view record() const { return {record_, record_size_}; }
  // Fields without their quotes and the blanks around them. Valid until the next call.
  const std::vector<std::string_view>& Fields();

  std::uint64_t line() const { return line_; }  // that the record begins on, from 1
  const InputFile& input() const { return input_; }
  std::uint64_t consumed() const { return consumed_; }  // bytes of the file

 private:
  bool Fill();
  std::string_view Unquoted(std::string_view field);

  InputFile input_;
  std::vector<char> buffer_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  const char* record_ = nullptr;
  std::size_t record_size_ = 0;
  char separator_ = ',';
  std::uint64_t line_ = 0;
  std::uint64_t next_line_ = 1;
  std::uint64_t consumed_ = 0;
  std::vector<std::string_view> fields_;
  std::vector<char> unquoted_;  // fields that had doubled quotes; room for a whole record
};

}  // namespace kestra::tools

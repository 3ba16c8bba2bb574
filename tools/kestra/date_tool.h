// Dates as the date command sees them: a context of a language and calendar in UTF-8, models and
// dates as texts, the library's errors as exceptions with a message.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "kestra/date.h"
#include "kestra/date_format.h"
#include "session.h"

namespace kestra::tools {

// An error that the library raised. offset: where in the model or text.
class DateFault : public std::runtime_error {
 public:
  DateFault(std::uint32_t number, std::size_t offset);
  std::uint32_t number() const { return number_; }
  std::size_t offset() const { return offset_; }

 private:
  std::uint32_t number_;
  std::size_t offset_;
};

// An error number of dates and models in words.
const char* DateErrorText(std::uint32_t number);

// "model, then a line with a caret under the byte at offset", for a terminal of any width.
std::string WithCaret(std::string_view text, std::size_t offset);

// A piece of a model and what it compiles to; empty for FM.
struct ModelPiece {
  std::string_view text;
  std::uint32_t code;
  std::string compiled;
};

class DateTool {
 public:
  // language: "GERMAN", "GERMAN_AUSTRIA"; empty: the environment's. calendar: empty: the
  // environment's. Throws ToolError with the nearest names.
  DateTool(Session& session, const std::string& language, const std::string& calendar);
  ~DateTool();
  DateTool(const DateTool&) = delete;
  DateTool& operator=(const DateTool&) = delete;

  ldxctx* context() { return &ctx_; }

  // A model for reading and writing, or for writing alone. All of these throw DateFault.
  std::string Compile(std::string_view model);
  std::string CompileForOutput(std::string_view model);
  std::string Write(const ldxdate& date, std::string_view compiled);
  ldxdate Read(std::string_view text, std::string_view compiled);
  // The pieces of a model that compiles for output, moving state from piece to piece.
  bool NextPiece(std::string_view model, std::size_t& at, ldxscan& state, ModelPiece& piece);

  // The default format of the calendar or of the environment, compiled.
  std::string DefaultFormat() const;

 private:
  void SetLanguage(Session& session, const std::string& language);
  void SetCalendar(Session& session, const std::string& calendar);

  lxhandle handle_{};
  ldxctx ctx_{};
  std::vector<std::uint8_t> text_ = std::vector<std::uint8_t>(std::size_t{64} << 10);
};

// "2019-02-28", "2019-02-28 12:30", "-44-03-15T12:30:59", "now", "today"; a date that there was.
// False: it is none of these.
bool ReadPlainDate(std::string_view text, ldxdate& out);

// The code of a unit's element, for rounding and truncating; throws ToolError.
std::uint32_t UnitOf(DateTool& tool, std::string_view name);

// What an element of a model means, and whether it can be read.
const char* ElementMeaning(std::uint32_t code);
bool IsReadable(std::uint32_t code);

}  // namespace kestra::tools

// Converting a text of any length in constant memory, and knowing exactly where it went wrong.
//
// A TextStream is fed block by block. It converts with "stop in front of what cannot be converted",
// so that clean text runs at the library's full speed; at a stop it converts that one character
// with room for the replacement alone, notes where it was, and goes on. A character cut off by the
// end of a block stays unconsumed and is fed again in front of the next.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "kestra/context.h"
#include "kestra/convert.h"
#include "session.h"
#include "support/files.h"

namespace kestra::tools {

// A place that could not be converted.
struct Trouble {
  std::uint64_t offset = 0;  // bytes from the start of the text
  std::uint64_t line = 1;
  std::uint64_t column = 1;  // characters
  bool malformed = false;    // no text of the source set; else the target set lacks the character
  bool cut = false;          // malformed because the text ends within a character
  std::vector<std::uint8_t> bytes;
  std::vector<std::uint32_t> code_points;  // when not malformed
};

// Counts lines and columns over segments that hold whole characters. A line ends at U+000A, in
// EBCDIC sets also at U+0085, which is what their text files use.
class LineCounter {
 public:
  LineCounter(Session& session, const Charset& charset);

  // A segment that follows the last one, and the number of its characters.
  void Pass(std::span<const std::uint8_t> segment, std::uint64_t characters);
  // Bytes of the text up to and with the first line end; all of it when there is none.
  std::size_t LineLength(std::span<const std::uint8_t> text) const;
  std::uint64_t line() const { return line_; }
  std::uint64_t column() const { return column_; }

 private:
  std::uint64_t CountCharacters(std::span<const std::uint8_t> text);

  Session& session_;
  const Charset& charset_;
  const lxobject* counting_target_;
  std::vector<std::uint8_t> scratch_;
  std::uint8_t newline_[2] = {'\n', '\n'};  // two bytes that end a line; one code unit in UTF-16
  bool wide_ = false;
  std::uint64_t line_ = 1;
  std::uint64_t column_ = 1;
};

// What becomes of a character that cannot be converted.
enum class OnError {
  kReplace,  // the replacement character of the target
  kStop,     // nothing: the stream stops for good in front of it
  kXml,      // an XML character reference; only what is malformed is replaced
  kSkip,     // it is left out
};

class TextStream {
 public:
  struct Options {
    OnError on_error = OnError::kReplace;
    bool transliterate = false;  // first try similar ASCII text, which is no trouble
    std::size_t keep = 20;       // troubles to remember
  };

  // charsets and session outlive the stream. Throws ToolError when the pair cannot be converted.
  TextStream(Session& session, const Charset& from, const Charset& to, Options options);

  // Converts a block and returns how many of its bytes were used: all of them, or all but a cut off
  // character when more follows. Throws ToolError (data) and whatever the sink throws.
  std::size_t Convert(std::span<const std::uint8_t> block, bool more, ByteSink& sink);

  // Counts bytes that the caller took away, such as a byte-order mark.
  void Skip(std::size_t bytes) { offset_ += bytes; }

  bool stopped() const { return stopped_; }
  std::uint64_t offset() const { return offset_; }
  std::uint64_t characters() const { return characters_; }
  std::uint64_t lines() const { return lines_.line(); }
  std::uint64_t trouble_count() const { return trouble_count_; }
  std::uint64_t transliterated() const { return transliterated_; }
  const std::vector<Trouble>& troubles() const { return troubles_; }

 private:
  // One call of the library with the states of this stream.
  using Converter = decltype(&lxgcnvb);
  std::size_t Call(Converter convert, std::span<std::uint8_t> out, std::span<const std::uint8_t> in,
                   std::uint32_t options);
  // How much of a block to convert at once: a line of a set with states, as the characters of half
  // a line cannot be counted without knowing the state that it began in.
  std::span<const std::uint8_t> Portion(std::span<const std::uint8_t> rest) const;
  // Converts one character that stopped the conversion. Returns bytes used, 0: cut off by the end.
  std::size_t Step(std::span<const std::uint8_t> rest, bool more, ByteSink& sink);
  void Finish(ByteSink& sink);
  // Writes similar text, or a reference, for the character instead of its replacement. False: it has
  // none, or the target lacks a character of it.
  bool WriteInstead(std::span<const std::uint8_t> bytes, ByteSink& sink);
  // A replacement character that stood in the source already is no loss.
  bool Survives(std::span<const std::uint8_t> bytes, std::span<const std::uint8_t> written);
  std::vector<std::uint32_t> Decode(std::span<const std::uint8_t> bytes);
  void Note(std::span<const std::uint8_t> bytes, bool cut);
  [[noreturn]] void FailUnavailable();

  Session& session_;
  const Charset& from_;
  const Charset& to_;
  Options options_;
  Charset utf16_;
  LineCounter lines_;
  std::size_t replacement_room_ = 1;  // bytes of the replacement character, once seen
  std::uint32_t state_in_ = 0;
  std::uint32_t state_out_ = 0;
  std::uint64_t offset_ = 0;
  std::uint64_t characters_ = 0;
  std::uint64_t trouble_count_ = 0;
  std::uint64_t transliterated_ = 0;
  std::vector<Trouble> troubles_;
  bool stopped_ = false;
};

// "U+20AC", or several with blanks between.
std::string CodePointNames(const std::vector<std::uint32_t>& code_points);

}  // namespace kestra::tools

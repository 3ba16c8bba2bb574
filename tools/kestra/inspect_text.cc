// What a text is: byte-order mark, character set, malformed places, line ends.
#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>

#include "command.h"
#include "detect.h"
#include "inspect.h"
#include "names.h"
#include "support/terminal.h"
#include "text_stream.h"

namespace kestra::tools {
namespace {

using Certainty = Detection::Certainty;

// Takes a text as UTF-16 code units and counts its line ends.
class LineEndCounter : public ByteSink {
 public:
  explicit LineEndCounter(bool little_endian) : high_(little_endian ? 1 : 0) {}
  std::span<std::uint8_t> Room(std::size_t) override { return buffer_; }
  void Advance(std::size_t written) override {
    for (std::size_t i = 0; i + 1 < written; i += 2) {
      const unsigned unit = static_cast<unsigned>(buffer_[i + high_] << 8 | buffer_[i + 1 - high_]);
      if (unit == '\n') ++(after_return_ ? crlf_ : lf_);
      if (after_return_ && unit != '\n') ++cr_;
      if (unit == 0x85) ++nel_;
      after_return_ = unit == '\r';
      ended_ = unit == '\n' || unit == '\r' || unit == 0x85;
    }
  }
  void Finish() {
    if (after_return_) ++cr_;
    after_return_ = false;
  }

  std::uint64_t lf() const { return lf_; }
  std::uint64_t crlf() const { return crlf_; }
  std::uint64_t cr() const { return cr_; }
  std::uint64_t nel() const { return nel_; }
  bool last_line_ended() const { return ended_; }

 private:
  std::size_t high_;  // which byte of a unit is the high one
  std::vector<std::uint8_t> buffer_ = std::vector<std::uint8_t>(kBuffer);
  std::uint64_t lf_ = 0, crlf_ = 0, cr_ = 0, nel_ = 0;
  bool after_return_ = false;
  bool ended_ = true;
};

const char* CertaintyName(Certainty certainty) {
  switch (certainty) {
    case Certainty::kEmpty:
      return "empty";
    case Certainty::kMark:
    case Certainty::kAscii:
    case Certainty::kProven:
      return "certain";
    case Certainty::kLikely:
      return "likely";
    case Certainty::kGuess:
      return "a guess";
    case Certainty::kBinary:
      return "no text";
  }
  return "";
}

std::string LineEnds(const LineEndCounter& counter) {
  std::string text;
  auto add = [&](const char* name, std::uint64_t count) {
    if (count > 0) text += fmt::format("{}{} {}", text.empty() ? "" : ", ", count, name);
  };
  add("LF", counter.lf());
  add("CRLF", counter.crlf());
  add("CR", counter.cr());
  add("NEL", counter.nel());
  if (text.empty()) return "none";
  if (!counter.last_line_ended()) text += "; the last line has none";
  return text;
}

std::string Reason(const Trouble& trouble) {
  return trouble.cut ? "the text ends within a character" : "malformed";
}

void PrintReport(const std::string& name, const Charset& charset, const Detection& detection,
                 const TextStream& stream, const LineEndCounter& counter, const std::string& mark,
                 bool all) {
  auto line = [](const char* title, const std::string& value) {
    fmt::print("{:<18}{}\n", title, Printable(value));
  };
  line("File", name);
  line("Kind", "text");
  line("Size", fmt::format("{} bytes, {} characters", stream.offset(), stream.characters()));
  line("Byte-order mark", mark);
  const std::string reason = detection.reason.empty() ? "" : ": " + detection.reason;
  line("Character set",
       fmt::format("{} ({}{})", charset.name, CertaintyName(detection.certainty), reason));
  std::string same;
  std::string others;
  std::size_t listed = 0;
  for (const Guess& guess : detection.guesses) {
    if (guess.charset.id == charset.id) continue;
    if (guess.same_text) {
      same += (same.empty() ? "" : ", ") + guess.charset.name;
    } else if (all || ++listed <= 4) {
      others += fmt::format("{}{} ({:.0f} %)", others.empty() ? "" : ", ", guess.charset.name,
                            100 * guess.score);
    }
  }
  if (!same.empty()) line("The same text in", same);
  if (!others.empty()) line("Or else", others);
  line("Line ends", LineEnds(counter));
  line("Malformed", stream.trouble_count() == 0
                        ? "nothing"
                        : fmt::format("{} place{}", stream.trouble_count(),
                                      stream.trouble_count() == 1 ? "" : "s"));
  for (const Trouble& trouble : stream.troubles()) {
    fmt::print("  {}:{}:{}: byte {}: {}: {}\n", Printable(name), trouble.line, trouble.column,
               trouble.offset, HexBytes(trouble.bytes), Reason(trouble));
  }
  if (stream.trouble_count() > stream.troubles().size()) {
    fmt::print("  and {} more\n", stream.trouble_count() - stream.troubles().size());
  }
}

void PrintJsonReport(const std::string& name, const Charset& charset, const Detection& detection,
                     const TextStream& stream, const LineEndCounter& counter,
                     const std::string& mark) {
  nlohmann::ordered_json root;
  root["file"] = name;
  root["kind"] = "text";
  root["bytes"] = stream.offset();
  root["characters"] = stream.characters();
  root["byte_order_mark"] = mark;
  root["charset"] = charset.name;
  root["certainty"] = CertaintyName(detection.certainty);
  root["reason"] = detection.reason;
  root["candidates"] = nlohmann::ordered_json::array();
  for (const Guess& guess : detection.guesses) {
    root["candidates"].push_back(
        {{"charset", guess.charset.name}, {"score", guess.score}, {"same_text", guess.same_text}});
  }
  root["line_ends"] = {{"lf", counter.lf()},
                       {"crlf", counter.crlf()},
                       {"cr", counter.cr()},
                       {"nel", counter.nel()},
                       {"last_line_ended", counter.last_line_ended()}};
  root["malformed"] = stream.trouble_count();
  root["places"] = nlohmann::ordered_json::array();
  for (const Trouble& trouble : stream.troubles()) {
    root["places"].push_back({{"offset", trouble.offset},
                              {"line", trouble.line},
                              {"column", trouble.column},
                              {"bytes", HexBytes(trouble.bytes)},
                              {"reason", Reason(trouble)}});
  }
  PrintJson(root);
}

int ReportNoText(const std::string& name, const Detection& detection, std::uint64_t size,
                 bool json) {
  const bool empty = detection.certainty == Certainty::kEmpty;
  if (json) {
    PrintJson({{"file", name},
               {"kind", empty ? "empty" : "binary"},
               {"bytes", size},
               {"reason", detection.reason}});
  } else {
    fmt::print("{:<18}{}\n{:<18}{}\n", "File", Printable(name), "Kind",
               empty ? "empty" : "binary data: " + detection.reason);
  }
  return kDone;
}

}  // namespace

int InspectText(TextFile& file, const InspectOptions& options, bool json) {
  Session session;
  const std::span<const std::uint8_t> sample = file.Start(std::size_t{256} << 10);
  Detection detection;
  Charset charset;
  if (options.from.empty()) {
    detection = DetectCharset(session, sample);
    if (detection.guesses.empty()) return ReportNoText(file.name(), detection, file.size(), json);
    charset = detection.guesses.front().charset;
  } else {
    charset = session.FindCharset(options.from);
    const MarkFound mark = FindMark(sample, charset.id);
    detection.certainty = Certainty::kProven;
    detection.reason = "as told";
    detection.mark_length = mark.length;
    if (mark.charset_id != charset.id || charset.id == kUtf16) {
      charset = session.LoadCharset(mark.charset_id == kUtf16 ? kAl16Utf16 : mark.charset_id);
    }
  }
  const std::string mark =
      detection.mark_length == 0
          ? "none"
          : fmt::format("{} ({})", HexBytes(sample.first(detection.mark_length)), charset.name);
  // Into UTF-16, which holds everything; from big-endian into little-endian, so that it is checked.
  const Charset target = session.LoadCharset(charset.id == kAl16Utf16 ? kAl16Utf16Le : kAl16Utf16);
  TextStream stream(session, charset, target, {.keep = options.reports});
  LineEndCounter counter(target.id == kAl16Utf16Le);
  file.Drop(detection.mark_length);
  stream.Skip(detection.mark_length);
  file.Run(stream, counter, "Reading");
  counter.Finish();
  if (json) {
    PrintJsonReport(file.name(), charset, detection, stream, counter, mark);
  } else {
    PrintReport(file.name(), charset, detection, stream, counter, mark, options.all);
  }
  return stream.trouble_count() == 0 ? kDone : kFound;
}

}  // namespace kestra::tools

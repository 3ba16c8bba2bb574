// kestra convert: text from one character set to another, as a filter.
#include "kestra/convert.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "command.h"
#include "session.h"
#include "support/files.h"
#include "support/terminal.h"
#include "text_file.h"
#include "text_stream.h"

namespace kestra::tools {
namespace {

struct Options {
  std::string from;
  std::string to;
  std::string output;
  std::vector<std::string> files;
  Mark mark = Mark::kKeep;
  OnError on_error = OnError::kReplace;
  bool strict = false;
  bool transliterate = false;
  bool progress = false;
  bool quiet = false;
  std::size_t reports = 20;
};

struct FileReport {
  std::string name;
  std::uint64_t bytes = 0;
  std::uint64_t characters = 0;
  std::uint64_t trouble_count = 0;
  std::uint64_t transliterated = 0;
  std::vector<Trouble> troubles;
};

std::string Describe(const Trouble& trouble, const std::string& from, const std::string& to) {
  if (trouble.cut) return fmt::format("the text ends within a character of {}", from);
  if (trouble.malformed) return fmt::format("not {} text", from);
  return fmt::format("{} does not exist in {}", CodePointNames(trouble.code_points), to);
}

const char* Fate(OnError on_error) { return on_error == OnError::kSkip ? "left out" : "replaced"; }

class Conversion {
 public:
  explicit Conversion(const Options& options)
      : options_(options),
        from_(session_.FindCharset(options.from)),
        to_(session_.FindCharset(options.to)),
        output_(options.output.empty() || options.output == "-"
                    ? std::make_unique<OutputFile>()
                    : std::make_unique<OutputFile>(options.output)) {}

  int Run(bool json) {
    std::vector<std::string> files = options_.files;
    if (files.empty()) files.emplace_back("-");
    if (options_.mark == Mark::kAdd && IsUnicodeForm(to_.id)) AddMark();
    for (const std::string& file : files) {
      if (!ConvertFile(file)) break;
    }
    // A run that stopped leaves the old file; what went to a pipe went there.
    if (!stopped_ || options_.output.empty()) output_->Commit();
    if (json) {
      ReportJson();
    } else if (!options_.quiet) {
      Report();
    }
    if (options_.progress) ReportRate();
    return TroubleCount() == 0 ? kDone : kFound;
  }

 private:
  void AddMark() {
    constexpr std::uint8_t kMark[2] = {0xFE, 0xFF};
    std::uint8_t bytes[8];
    const Charset utf16 = session_.LoadCharset(kAl16Utf16);
    const std::size_t length = lxgcnv(bytes, to_.object, sizeof bytes, kMark, utf16.object,
                                      sizeof kMark, session_.context());
    output_->Write(std::span(bytes, length));
  }

  // Returns false when the run has to stop.
  bool ConvertFile(const std::string& path) {
    TextFile file(path);
    const MarkFound mark = FindMark(file.Start(), from_.id);
    Charset from = from_;
    // UTF16 leaves the byte order to the mark; without one it is big-endian.
    if (from_.id == kUtf16 || mark.contradicts) {
      from = session_.LoadCharset(mark.charset_id == kUtf16 ? kAl16Utf16 : mark.charset_id);
      if (mark.contradicts && !options_.quiet) {
        fmt::print(stderr, "kestra convert: {}: the byte-order mark says {}, not {}\n", file.name(),
                   from.name, from_.name);
      }
    }
    TextStream stream(session_, from, to_,
                      {options_.on_error, options_.transliterate, options_.reports});
    // A mark is a signature and no text where the byte order was open or the target has no marks.
    const bool drop = options_.mark != Mark::kKeep || from_.id == kUtf16 || !IsUnicodeForm(to_.id);
    if (mark.length > 0 && drop) {
      file.Drop(mark.length);
      stream.Skip(mark.length);
    }
    file.Run(stream, *output_, "Converting");
    output_->Flush();
    reports_.push_back({file.name(), stream.offset(), stream.characters(), stream.trouble_count(),
                        stream.transliterated(), stream.troubles()});
    stopped_ = stream.stopped();
    return !stopped_;
  }

  std::uint64_t TroubleCount() const {
    std::uint64_t count = 0;
    for (const FileReport& report : reports_) count += report.trouble_count;
    return count;
  }

  void Report() const {
    const bool stop = options_.on_error == OnError::kStop;
    for (const FileReport& report : reports_) {
      const std::string name = Printable(report.name);
      if (report.transliterated != 0) {
        fmt::print(stderr, "kestra convert: {}: {} character{} became similar text\n", name,
                   report.transliterated, report.transliterated == 1 ? "" : "s");
      }
      if (report.trouble_count == 0) continue;
      const std::string what =
          stop ? fmt::format("stopped at a character that cannot be converted to {}", to_.name)
               : fmt::format("{} place{} could not be converted to {} and {} {}",
                             report.trouble_count, report.trouble_count == 1 ? "" : "s", to_.name,
                             report.trouble_count == 1 ? "was" : "were", Fate(options_.on_error));
      fmt::print(stderr, "kestra convert: {}: {}\n", name,
                 Styled(STDERR_FILENO, Style::kYellow, what));
      for (const Trouble& trouble : report.troubles) {
        fmt::print(stderr, "  {}:{}:{}: byte {}: {}: {}\n", name, trouble.line, trouble.column,
                   trouble.offset, HexBytes(trouble.bytes),
                   Describe(trouble, from_.name, to_.name));
      }
      if (report.trouble_count > report.troubles.size() && !stop) {
        fmt::print(stderr, "  and {} more\n", report.trouble_count - report.troubles.size());
      }
    }
  }

  void ReportRate() const {
    std::uint64_t bytes = 0;
    for (const FileReport& report : reports_) bytes += report.bytes;
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start_;
    const double megabytes = static_cast<double>(bytes) / 1e6;
    fmt::print(stderr, "kestra convert: {:.1f} MB in {:.2f} s, {:.0f} MB/s\n", megabytes,
               elapsed.count(), megabytes / std::max(elapsed.count(), 1e-9));
  }

  // On standard error: standard output holds the text.
  void ReportJson() const {
    nlohmann::ordered_json root;
    root["from"] = from_.name;
    root["to"] = to_.name;
    root["bytes_written"] = output_->written();
    root["files"] = nlohmann::ordered_json::array();
    for (const FileReport& report : reports_) {
      nlohmann::ordered_json file;
      file["name"] = report.name;
      file["bytes"] = report.bytes;
      file["characters"] = report.characters;
      file["unconvertible"] = report.trouble_count;
      file["transliterated"] = report.transliterated;
      file["places"] = nlohmann::ordered_json::array();
      for (const Trouble& trouble : report.troubles) {
        file["places"].push_back({{"offset", trouble.offset},
                                  {"line", trouble.line},
                                  {"column", trouble.column},
                                  {"bytes", HexBytes(trouble.bytes)},
                                  {"code_points", CodePointNames(trouble.code_points)},
                                  {"reason", trouble.cut         ? "cut off"
                                             : trouble.malformed ? "malformed"
                                                                 : "not in target"}});
      }
      root["files"].push_back(std::move(file));
    }
    const auto replace = nlohmann::ordered_json::error_handler_t::replace;
    fmt::print(stderr, "{}\n", root.dump(2, ' ', false, replace));
  }

  const Options& options_;
  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  Session session_;
  Charset from_;
  Charset to_;
  std::unique_ptr<OutputFile> output_;
  std::vector<FileReport> reports_;
  bool stopped_ = false;
};

std::function<int()> Setup(CLI::App& app, const Globals& globals) {
  auto options = std::make_shared<Options>();
  app.add_option("-f,--from", options->from, "Character set of the input")
      ->required()
      ->type_name("SET");
  app.add_option("-t,--to", options->to, "Character set of the output")
      ->required()
      ->type_name("SET");
  app.add_option("-o,--output", options->output,
                 "Write to FILE, which is replaced only when all went well")
      ->type_name("FILE");
  app.add_option("files", options->files, "Files to convert one after the other; - and none: stdin")
      ->type_name("FILE");
  CLI::Option* on_error =
      app.add_option(
             "--on-error", options->on_error,
             "A character that cannot be converted: replace it, the default; stop in front of it; "
             "write it as an XML reference such as &#x20AC;; or skip it")
          ->type_name("HOW")
          ->transform(
              CLI::CheckedTransformer(
                  std::vector<std::pair<std::string, OnError>>{{"replace", OnError::kReplace},
                                                               {"stop", OnError::kStop},
                                                               {"xml", OnError::kXml},
                                                               {"skip", OnError::kSkip}},
                  CLI::ignore_case)
                  .description("replace, stop, xml or skip"));
  app.add_flag("--strict", options->strict, "The same as --on-error=stop")->excludes(on_error);
  app.add_flag(
      "--transliterate", options->transliterate,
      "Write similar ASCII text for what the target lacks, if there is any: e for e acute, "
      "... for the ellipsis, EUR for the euro sign");
  app.add_option("--bom", options->mark,
                 "Byte-order mark; keep, the default: where the output can hold it")
      ->type_name("HOW")
      ->transform(CLI::CheckedTransformer(
                      std::vector<std::pair<std::string, Mark>>{
                          {"keep", Mark::kKeep}, {"strip", Mark::kStrip}, {"add", Mark::kAdd}},
                      CLI::ignore_case)
                      .description("keep, strip or add"));
  app.add_option("--reports", options->reports, "Places to list for each file, 20 by default")
      ->type_name("N");
  app.add_flag(
      "--progress", options->progress,
      "Tell the bytes, the time and the rate at the end; long work shows them on a terminal "
      "anyway");
  app.add_flag("-q,--quiet", options->quiet, "No report on standard error");
  app.footer(
      "SET is a name of `kestra charsets` or a registered name such as utf-8 or latin1.\n"
      "What cannot be converted is replaced, listed on standard error with file, line, column and\n"
      "byte offset, and gives exit code 1.\n\n" +
      Examples({"kestra convert -f latin1 -t utf-8 letter.txt > letter.utf8.txt",
                "kestra convert -f utf-8 -t JA16SHIFTJIS --on-error=stop -o menu.sjis menu.txt",
                "kestra convert -f utf-8 -t latin1 --on-error=xml page.html > page.latin1.html",
                "zcat log.gz | kestra convert -f IBM1047 -t AL32UTF8 | less"}));
  return [options, &globals] {
    if (options->strict) options->on_error = OnError::kStop;
    return Conversion(*options).Run(globals.json);
  };
}

}  // namespace

const Command kConvertCommand{"convert", "Convert text between character sets", Setup};

}  // namespace kestra::tools

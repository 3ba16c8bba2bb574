#include "detect.h"

#include <fmt/format.h>

#include <algorithm>

#include "command.h"
#include "kestra/charset.h"
#include "kestra/convert.h"
#include "plausibility.h"
#include "text_file.h"

namespace kestra::tools {
namespace {

struct Candidate {
  std::uint32_t id;
  Writing writing = Writing::kAny;
  // Lead bytes of the frequent ideographs, the first level of the national standard.
  std::uint8_t first_lead = 0, last_lead = 0;
};

// In the order of preference among equals: the set that most such texts are in comes first.
constexpr Candidate kCandidates[] = {
    {837, Writing::kJapanese, 0x88, 0x97},  // JA16WINDOWS31J
    {831, Writing::kJapanese, 0xB0, 0xCF},  // JA24EUCJP
    {843, Writing::kKorean, 0xB0, 0xC8},    // KO16UHC
    {851, Writing::kChinese, 0xB0, 0xD7},   // ZS16GBK
    {860, Writing::kChinese, 0xA4, 0xC6},   // ZT16BIG5
    {252},                                  // windows-1252
    {101},                                  // ISO-8859-1
    {115},                                  // ISO-8859-15
    {250},                                  // windows-1250
    {102},                                  // ISO-8859-2
    {251},                                  // windows-1251
    {410},                                  // KOI8-R
    {413},                                  // KOI8-U
    {323},                                  // IBM866
    {105},                                  // ISO-8859-5
    {253},                                  // windows-1253
    {107},                                  // ISO-8859-7
    {254},                                  // windows-1254
    {109},                                  // ISO-8859-9
    {255},                                  // windows-1255
    {108},                                  // ISO-8859-8
    {256},                                  // windows-1256
    {106},                                  // ISO-8859-6
    {257},                                  // windows-1257
    {113},                                  // ISO-8859-13
    {258},                                  // windows-1258
    {131},                                  // TIS-620
    {310},                                  // IBM850
    {309},                                  // IBM437
    {312},                                  // IBM852
    {420},                                  // macintosh
    {543},                                  // IBM1047
    {516},                                  // IBM037
};

struct Decoded {
  std::vector<std::uint32_t> text;
  std::size_t malformed = 0;
};

// At most this many characters are looked at in a trial.
constexpr std::size_t kTrial = 1 << 15;

// Decodes up to kTrial characters. With tolerance 0 it ends at the first malformed place.
Decoded Decode(Session& session, const Charset& charset, std::span<const std::uint8_t> sample,
               std::size_t tolerance) {
  Decoded result;
  const Charset utf16 = session.LoadCharset(kAl16Utf16);
  const Charset utf8 = session.LoadCharset(kAl32Utf8);
  std::vector<std::uint8_t> units(2 * kTrial);
  const bool direct = charset.id == kAl16Utf16;  // checked on the way to UTF-8, then read as it is
  while (!sample.empty() && result.text.size() < kTrial) {
    const std::size_t length = lxgcnvb(units.data(), direct ? utf8.object : utf16.object,
                                       units.size(), sample.data(), charset.object, sample.size(),
                                       KES_CONVERT_STOP | KES_CONVERT_MORE, session.context());
    const auto consumed = static_cast<std::size_t>(session.context()->status.consumed);
    const std::uint8_t* bytes = direct ? sample.data() : units.data();
    const std::size_t byte_count = direct ? consumed : length;
    for (std::size_t i = 0; i + 1 < byte_count; i += 2) {
      auto unit = static_cast<std::uint32_t>(bytes[i] << 8 | bytes[i + 1]);
      if (unit >= 0xDC00 && unit < 0xE000 && !result.text.empty()) {
        unit = 0x10000 + ((result.text.back() - 0xD800) << 10) + (unit - 0xDC00);
        result.text.pop_back();
      }
      result.text.push_back(unit);
    }
    sample = sample.subspan(consumed);
    if (session.context()->error == KES_NLS_DESTINATION_FULL) continue;
    if (sample.size() < 8) break;  // what is left may be a character cut off
    ++result.malformed;
    if (result.malformed > tolerance) break;
    sample = sample.subspan(1);
  }
  return result;
}

// The share of frequent ideographs lowers the score of a multibyte set. Walks the bytes, as levels
// are a matter of the code table.
double RareShare(std::span<const std::uint8_t> sample, const Candidate& candidate) {
  if (candidate.first_lead == 0) return 0;
  std::size_t all = 0, rare = 0;
  for (std::size_t i = 0; i + 1 < sample.size() && i < kTrial; ++i) {
    const std::uint8_t lead = sample[i];
    if (lead < 0x81) continue;
    ++i;
    const bool euc = candidate.first_lead == 0xB0;
    const bool kana_or_signs =
        euc ? (lead >= 0xA1 && lead <= 0xA9) : (lead >= 0x81 && lead < candidate.first_lead);
    if (kana_or_signs) continue;
    ++all;
    if (lead < candidate.first_lead || lead > candidate.last_lead) ++rare;
  }
  return all == 0 ? 0 : static_cast<double>(rare) / static_cast<double>(all);
}

class Detector {
 public:
  Detector(Session& session, std::span<const std::uint8_t> sample)
      : session_(session), sample_(sample) {}

  Detection Run() {
    if (sample_.empty()) {
      result_.certainty = Detection::Certainty::kEmpty;
      return result_;
    }
    if (TryMark() || TryAscii() || TryUtf16() || TryUtf8()) return result_;
    TryOthers();
    return result_;
  }

 private:
  using Certainty = Detection::Certainty;

  void Settle(Certainty certainty, std::uint32_t id, std::string reason) {
    result_.certainty = certainty;
    result_.guesses.push_back({session_.LoadCharset(id), 1, true});
    result_.reason = std::move(reason);
  }

  bool TryMark() {
    // The unknown-set rules look at two bytes of a UTF-8 mark; the declared-set rules prove it.
    for (const std::uint32_t id : {kAl32Utf8, std::uint32_t{872}, kAl16Utf16, kAl16Utf16Le}) {
      const MarkFound mark = FindMark(sample_, id);
      if (mark.length == 0 || mark.charset_id != id) continue;
      result_.mark_length = mark.length;
      Settle(Certainty::kMark, id, "the byte-order mark says so");
      return true;
    }
    return false;
  }

  bool TryAscii() {
    const bool ascii = std::all_of(sample_.begin(), sample_.end(), [](std::uint8_t byte) {
      return byte < 0x80 && (byte >= 0x20 || (byte >= 0x07 && byte <= 0x0D) || byte == 0x1B);
    });
    if (ascii) Settle(Certainty::kAscii, 1, "every byte is ASCII");
    return ascii;
  }

  bool TryUtf16() {
    std::size_t zeros[2] = {0, 0};
    for (std::size_t i = 0; i < sample_.size(); ++i) {
      if (sample_[i] == 0) ++zeros[i & 1];
    }
    if (zeros[0] + zeros[1] == 0) return false;  // no blank, no line end: no UTF-16
    // Even offsets hold the high bytes of big-endian text.
    double best = 0.8;
    std::uint32_t best_id = 0;
    const std::size_t likely = zeros[0] > zeros[1] ? 0 : 1;
    for (const std::size_t high : {likely, 1 - likely}) {
      const std::uint32_t id = high == 0 ? kAl16Utf16 : kAl16Utf16Le;
      const Decoded decoded = Decode(session_, session_.LoadCharset(id), sample_, 0);
      if (decoded.malformed != 0) continue;
      const double score = Plausibility(decoded.text, Writing::kAny);
      if (score <= best) continue;
      best = score;
      best_id = id;
    }
    if (best_id != 0) {
      Settle(Certainty::kProven, best_id, "its zero bytes are where UTF-16 has them");
      return true;
    }
    return false;
  }

  bool TryUtf8() {
    const Charset utf8 = session_.LoadCharset(kAl32Utf8);
    const std::size_t high_bytes = static_cast<std::size_t>(
        std::count_if(sample_.begin(), sample_.end(), [](std::uint8_t b) { return b >= 0x80; }));
    const Decoded decoded = Decode(session_, utf8, sample_, high_bytes / 20);
    const std::size_t long_characters = static_cast<std::size_t>(
        std::count_if(decoded.text.begin(), decoded.text.end(), [](auto c) { return c >= 0x80; }));
    const auto never = std::count_if(decoded.text.begin(), decoded.text.end(), NeverInText);
    if (long_characters == 0 || never * 20 > static_cast<std::ptrdiff_t>(decoded.text.size())) {
      return false;
    }
    if (decoded.malformed == 0) {
      Settle(long_characters > 2 ? Certainty::kProven : Certainty::kLikely, kAl32Utf8,
             fmt::format("{} characters of several bytes, all well-formed", long_characters));
      return true;
    }
    if (decoded.malformed * 20 > long_characters) return false;
    Settle(Certainty::kLikely, kAl32Utf8,
           fmt::format("{} well-formed characters of several bytes beside {} malformed places",
                       long_characters, decoded.malformed));
    return true;
  }

  void TryOthers() {
    std::vector<std::vector<std::uint32_t>> texts;  // what each guess reads
    std::vector<std::size_t> order;
    for (const Candidate& candidate : kCandidates) {
      Charset charset;
      try {
        charset = session_.LoadCharset(candidate.id);
      } catch (const ToolError&) {
        continue;  // this data set does not have it
      }
      const Decoded decoded = Decode(session_, charset, sample_, 0);
      if (decoded.malformed != 0) continue;
      const double score =
          Plausibility(decoded.text, candidate.writing) - RareShare(sample_, candidate);
      result_.guesses.push_back({charset, score, false});
      texts.push_back(decoded.text);
      order.push_back(order.size());
    }
    Rank(order, texts);
    if (result_.guesses.empty()) {
      result_.certainty = Certainty::kBinary;
      result_.reason = "no character set makes text of it";
      return;
    }
    const double best = result_.guesses.front().score;
    double rival = 0;
    for (const Guess& guess : result_.guesses) {
      if (!guess.same_text) rival = std::max(rival, guess.score);
    }
    constexpr double kConvincing = 0.9;
    constexpr double kClear = 0.1;
    const bool clear = best >= kConvincing && rival < best - kClear;
    result_.certainty = clear ? Certainty::kLikely : Certainty::kGuess;
    result_.reason =
        clear ? "reads like written text" : fmt::format("the best of {}", order.size());
  }

  // Orders the guesses, marks those that read the text as the best one does, drops the hopeless.
  void Rank(std::vector<std::size_t>& order, const std::vector<std::vector<std::uint32_t>>& texts) {
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
      return result_.guesses[a].score > result_.guesses[b].score + 1e-6;
    });
    constexpr double kTooLittle = 0.4;
    std::vector<Guess> ranked;
    for (const std::size_t index : order) {
      Guess guess = result_.guesses[index];
      if (guess.score < kTooLittle) continue;
      guess.same_text = texts[index] == texts[order.front()];
      ranked.push_back(std::move(guess));
    }
    std::stable_partition(ranked.begin(), ranked.end(),
                          [](const Guess& guess) { return guess.same_text; });
    result_.guesses = std::move(ranked);
  }

  Session& session_;
  std::span<const std::uint8_t> sample_;
  Detection result_;
};

}  // namespace

Detection DetectCharset(Session& session, std::span<const std::uint8_t> sample) {
  return Detector(session, sample).Run();
}

}  // namespace kestra::tools

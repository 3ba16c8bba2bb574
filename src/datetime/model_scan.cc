// The scanner takes one element or one literal at a time. An element is found by its initial letter
// and the longest name that fits; then comes its suffix. DL, DS and TS are models of the language
// that are scanned in their place.
#include "datetime/model_scan.h"

#include <string.h>

#include <algorithm>

#include "datetime/datetime_model.h"
#include "datetime/model_text.h"

namespace kestra::datetime {
namespace {

constexpr std::uint32_t kLiteralTooLong = 1800;
constexpr std::uint32_t kNoRoom = 1801;
constexpr std::uint32_t kRepeated = 1810;
constexpr std::uint32_t kUnknown = 1821;
constexpr std::uint32_t kEmptyExpansion = 1890;
constexpr std::size_t kExpansionRoom = 255;

struct SuffixName {
  std::string_view name;
  Suffix value;
};
constexpr SuffixName kSuffixes[] = {
    {"SPTH", kSpelledOrdinal}, {"THSP", kSpelledOrdinal}, {"TH", kOrdinal}, {"SP", kSpelled}};

// Position in the alphabet, 26 when the byte is no letter.
constexpr std::size_t LetterIndex(std::uint8_t byte, Basis basis) noexcept {
  if (basis == Basis::kAscii) {
    const unsigned place = (byte | 0x20u) - 'a';
    return place < 26 ? place : 26;
  }
  const unsigned row = byte & 0xBFu;  // lower case: 81.., upper case: C1..
  if (byte < 0x80) return 26;
  if (row >= 0x81 && row <= 0x89) return row - 0x81;
  if (row >= 0x91 && row <= 0x99) return row - 0x91 + 9;
  return row >= 0xA2 && row <= 0xA9 ? row - 0xA2 + 18 : 26;
}

constexpr std::uint8_t Upper(std::uint8_t byte, Basis basis) noexcept {
  if (LetterIndex(byte, basis) == 26) return byte;
  return static_cast<std::uint8_t>(basis == Basis::kAscii ? byte & ~0x20u : byte | 0x40u);
}

bool IsLowerLetter(std::uint8_t byte, Basis basis) noexcept { return Upper(byte, basis) != byte; }

bool Begins(std::span<const std::uint8_t> text, const std::uint8_t* upper, std::size_t length,
            Basis basis) noexcept {
  if (text.size() < length) return false;
  for (std::size_t i = 0; i < length; ++i) {
    if (Upper(text[i], basis) != upper[i]) return false;
  }
  return true;
}

std::size_t NameLength(const ElementRow& row) noexcept {
  return strnlen(reinterpret_cast<const char*>(row.name), sizeof row.name);
}

// The two first letters of an element as written: MONTH, Month, month.
Letters LettersOf(std::span<const std::uint8_t> written, Basis basis) noexcept {
  std::uint8_t letters[2];
  std::size_t count = 0;
  for (const std::uint8_t byte : written) {
    if (count < 2 && LetterIndex(byte, basis) < 26) letters[count++] = byte;
  }
  if (count == 0) return kUpper;
  if (IsLowerLetter(letters[0], basis)) return kLower;
  return count == 1 || IsLowerLetter(letters[1], basis) ? kCapitalised : kUpper;
}

class Scanner {
 public:
  Scanner(const ldxctx& ctx, std::span<std::uint8_t> out, ldxscan& state) noexcept
      : ctx_(ctx), basis_(StateOf(ctx).basis), out_(out), state_(state) {}

  std::size_t written() const noexcept { return used_; }

  // Scans the next item of text; code 0 at its end.
  Fault Item(ModelText& text, std::uint32_t& code) noexcept {
    code = KES_DATE_LITERAL;
    switch (text.kind()) {
      case CharKind::kEnd:
        code = 0;
        return {};
      case CharKind::kQuote:
        return Quoted(text);
      case CharKind::kMark:
      case CharKind::kBlank:
        return Run(text);
      case CharKind::kWord:
        return Element(text, code);
      case CharKind::kUnknown:
        break;
    }
    return {kUnknown, text.offset()};
  }

 private:
  Fault Quoted(ModelText& text) noexcept {
    const std::size_t start = text.offset();
    const std::uint8_t* const from = text.at() + 1;
    for (text.Step(); text.kind() != CharKind::kQuote; text.Step()) {
      if (text.kind() == CharKind::kEnd) return {kUnknown, start};
    }
    const std::span<const std::uint8_t> inside(from, text.at());
    text.Step();
    return Literal(inside, kQuoted, start);
  }

  Fault Run(ModelText& text) noexcept {
    const std::size_t start = text.offset();
    const std::uint8_t* const from = text.at();
    LiteralKind kind = kBlanks;
    for (; text.kind() == CharKind::kMark || text.kind() == CharKind::kBlank; text.Step()) {
      if (text.kind() == CharKind::kMark) kind = kPunctuation;
    }
    return Literal({from, text.at()}, kind, start);
  }

  Fault Literal(std::span<const std::uint8_t> bytes, LiteralKind kind,
                std::size_t offset) noexcept {
    if (bytes.size() > kMaxLiteral || out_.size() - used_ < kLiteralHead + bytes.size()) {
      return {kLiteralTooLong, offset};
    }
    out_[used_] = static_cast<std::uint8_t>(kLiteralBase + bytes.size());
    out_[used_ + 1] = kind;
    std::copy(bytes.begin(), bytes.end(), out_.begin() + static_cast<std::ptrdiff_t>(used_) + 2);
    used_ += kLiteralHead + bytes.size();
    return {};
  }

  Fault Element(ModelText& text, std::uint32_t& code) noexcept {
    const std::size_t offset = text.offset();
    const ModelText::Letters letters = text.NextLetters(basis_);
    const std::span<const std::uint8_t> written = letters.span();
    const ElementRow* const row = ldxmfn(written, basis_);
    if (StateOf(ctx_).datetime) {
      const DatetimeElement* const more = FindDatetimeElement(written);
      if (more != nullptr && (row == nullptr || more->name.size() > NameLength(*row))) {
        return AppendDatetime(text, *more, offset, code);
      }
    }
    if (row == nullptr) return {kUnknown, offset};
    code = row->code;
    text.Step(row->length);
    if (code == KES_DATE_FM) {
      state_.fill_off ^= 1u;
      return {};
    }
    if (code >= kCodes) return Expansion(code, offset);
    return Append(text, *row, written, offset);
  }

  Fault Append(ModelText& text, const ElementRow& row, std::span<const std::uint8_t> written,
               std::size_t offset) noexcept {
    const bool name = (kDescriptors[row.code].flags & kNameFlag) != 0;
    const SuffixName* suffix = name ? nullptr : FindSuffix(text.NextLetters(basis_).span());
    if (suffix != nullptr) text.Step(suffix->name.size());
    if (row.code != KES_DATE_FX) {
      if ((state_.seen & Bit(row.code)) != 0 && state_.repeat == 0) return {kRepeated, offset};
      state_.seen |= Bit(row.code);
    }
    if (out_.size() - used_ < kElementSize) return {kNoRoom, offset};
    out_[used_] = row.code;
    out_[used_ + 1] = Modifier(row, name, suffix, written);
    used_ += kElementSize;
    return {};
  }

  const DatetimeElement* FindDatetimeElement(std::span<const std::uint8_t> text) const noexcept {
    const DatetimeElement* best = nullptr;
    for (const DatetimeElement& element : kDatetimeElements) {
      std::uint8_t bytes[kLongestElement];
      for (std::size_t i = 0; i < element.name.size(); ++i) {
        bytes[i] = InBasis(element.name[i], basis_);
      }
      const bool longer = best == nullptr || element.name.size() > best->name.size();
      if (longer && Begins(text, bytes, element.name.size(), basis_)) best = &element;
    }
    return best;
  }

  Fault AppendDatetime(ModelText& text, const DatetimeElement& element, std::size_t offset,
                       std::uint32_t& code) noexcept {
    const std::uint64_t bit = DatetimeBit(element.code);
    if ((state_.seen & bit) != 0 && state_.repeat == 0) return {kRepeated, offset};
    if (out_.size() - used_ < kElementSize) return {kNoRoom, offset};
    text.Step(element.name.size());
    state_.seen |= bit;
    out_[used_] = kDatetimeEscape;
    out_[used_ + 1] = element.code;
    used_ += kElementSize;
    code = element.code;
    return {};
  }

  const SuffixName* FindSuffix(std::span<const std::uint8_t> text) const noexcept {
    for (const SuffixName& suffix : kSuffixes) {
      std::uint8_t bytes[4];
      for (std::size_t i = 0; i < suffix.name.size(); ++i) {
        bytes[i] = InBasis(suffix.name[i], basis_);
      }
      if (Begins(text, bytes, suffix.name.size(), basis_)) return &suffix;
    }
    return nullptr;
  }

  std::uint8_t Modifier(const ElementRow& row, bool name, const SuffixName* suffix,
                        std::span<const std::uint8_t> written) const noexcept {
    std::uint8_t modifier = state_.fill_off != 0 ? 0 : kFill;
    if (row.code == KES_DATE_FX) return modifier;
    if (name) return modifier | LettersOf(written.first(row.length), basis_);
    if (suffix == nullptr) return modifier;
    modifier |= suffix->value;
    // Of an ordinal in digits (4TH, 4th) only the suffix has letters.
    if (suffix->value == kOrdinal) {
      return IsLowerLetter(written[row.length], basis_) ? modifier | kLower : modifier;
    }
    return modifier | LettersOf(written.first(row.length + suffix->name.size()), basis_);
  }

  Fault Expansion(std::uint32_t code, std::size_t offset) noexcept {
    if (state_.expanding != 0) return {kUnknown, offset};
    const std::uint32_t item = code == KES_DATE_DL   ? KES_ITEM_LONG_DATE
                               : code == KES_DATE_DS ? KES_ITEM_SHORT_DATE
                                                     : KES_ITEM_TIME;
    std::uint8_t bytes[kExpansionRoom];
    const TextHandle handle(ctx_);
    std::size_t length = HandleText(ctx_, item, bytes, sizeof bytes);
    if (ctx_.handle == nullptr) length = EnglishFormat(code, bytes);
    if (length == 0) return {kEmptyExpansion, offset};

    const std::uint8_t fill_off = state_.fill_off;
    state_.expanding = 1;
    state_.fill_off = 0;
    ModelText text({bytes, length}, handle.get(), TextSet(ctx_), ctx_.nls);
    Fault fault;
    std::uint32_t inner = 0;
    do {
      fault = Item(text, inner);
    } while (!fault && inner != 0);
    state_.expanding = 0;
    state_.fill_off = fill_off;
    return {fault.number, offset};
  }

  // What a context without a language has.
  static std::size_t EnglishFormat(std::uint32_t code, std::uint8_t* out) noexcept {
    const std::string_view text = code == KES_DATE_DL   ? "FMDay, Month DD, YYYY"
                                  : code == KES_DATE_DS ? "FMMM/DD/YYYY"
                                                        : "FMHH:FMMI:SS AM";
    memcpy(out, text.data(), text.size());
    return text.size();
  }

  const ldxctx& ctx_;
  Basis basis_;
  std::span<std::uint8_t> out_;
  ldxscan& state_;
  std::size_t used_ = 0;
};

}  // namespace

const ElementRow* ldxmfn(std::span<const std::uint8_t> text, Basis basis) noexcept {
  if (text.empty()) return nullptr;
  const std::size_t letter = LetterIndex(text[0], basis);
  if (letter == 26) return nullptr;
  const ElementTable& table = basis == Basis::kAscii ? kAsciiElements : kEbcdicElements;
  const ElementRow* best = nullptr;
  const std::uint8_t initial = InBasis(static_cast<char>('A' + letter), basis);
  for (std::size_t i = table.first[letter]; i < kRows; ++i) {  // kNoRow is past the last
    const ElementRow& row = table.rows[i];
    if (row.name[0] != initial) break;
    // Names of a letter come sorted, so that a longer one that fits comes after a shorter.
    if (Begins(text, row.name, NameLength(row), basis)) best = &row;
  }
  return best;
}

ScanStep ScanItem(const ldxctx& ctx, std::span<const std::uint8_t> text,
                  std::span<std::uint8_t> out, ldxscan& state) noexcept {
  const TextHandle handle(ctx);
  ModelText walk(text, handle.get(), TextSet(ctx), ctx.nls);
  Scanner scanner(ctx, out, state);
  ScanStep step;
  step.fault = scanner.Item(walk, step.code);
  step.taken = walk.offset();
  step.written = scanner.written();
  return step;
}

Fault CompileWorkText(const ldxctx& ctx, std::span<const std::uint8_t> text, ModelUse use,
                      std::span<std::uint8_t> out, std::size_t& used) noexcept {
  used = 0;
  const TextHandle handle(ctx);
  ModelText walk(text, handle.get(), TextSet(ctx), ctx.nls);
  ldxscan state{};
  state.repeat = use == ModelUse::kWrite;
  Scanner scanner(ctx, out, state);
  std::uint32_t code = 0;
  do {
    const Fault fault = scanner.Item(walk, code);
    if (fault) return fault;
  } while (code != 0);
  if (use == ModelUse::kBoth) {
    if (const std::uint32_t number = GroupError(state.seen)) return {number, text.size()};
  }
  used = scanner.written();
  return {};
}

}  // namespace kestra::datetime

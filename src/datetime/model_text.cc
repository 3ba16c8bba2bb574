#include "datetime/model_text.h"

#include <algorithm>

#include "datetime/date_model.h"
#include "nls/nlb_format.h"
#include "nls/object_view.h"

namespace kestra::datetime {
namespace {

constexpr CharKind KindOfAscii(std::uint8_t c) noexcept {
  if (c == '"') return CharKind::kQuote;
  if (c == ' ' || (c >= '\t' && c <= '\r')) return CharKind::kBlank;
  if (c < 0x20 || c >= 0x7F) return CharKind::kUnknown;
  const std::uint8_t letter = c | 0x20;
  const bool word = (c >= '0' && c <= '9') || (letter >= 'a' && letter <= 'z');
  return word ? CharKind::kWord : CharKind::kMark;
}

}  // namespace

ModelText::ModelText(std::span<const std::uint8_t> text, const lxhandle* handle,
                     const lxobject* set, lxcontext* nls) noexcept
    : begin_(text.data()),
      at_(begin_),
      end_(begin_ + text.size()),
      set_(set),
      nls_(nls),
      use_cursor_(handle != nullptr && set != nullptr) {
  if (use_cursor_) {
    // Leading shift bytes are not passed over here: quoted text keeps those in front of it.
    lxmopen(begin_, text.size(), &cursor_, handle, nls_, 0);
    at_ = cursor_.position;
  }
  Look();
}

void ModelText::Look() noexcept {
  if (at_ >= end_) {
    kind_ = CharKind::kEnd;
  } else {
    kind_ = use_cursor_ ? KindOfSet() : KindOfAscii(*at_);
  }
}

CharKind ModelText::KindOfSet() const noexcept {
  using namespace nls::nlb::charset;
  const bool shifted = cursor_.stateful != 0 && cursor_.shift_state != 0;
  if (!shifted && nls::Load16(set_, kSingleAt + 2 * std::size_t{*at_}) == '"') {
    return CharKind::kQuote;
  }
  if (lxmspax(&cursor_, nls_) != 0) return CharKind::kBlank;
  if (lxmalnx(&cursor_, nls_) != 0) return CharKind::kWord;
  // A literal that is not quoted cannot hold the shifts that such a character needs.
  if (shifted) return CharKind::kUnknown;
  return lxmpunx(&cursor_, nls_) != 0 ? CharKind::kMark : CharKind::kUnknown;
}

ModelText::Letters ModelText::NextLetters(Basis basis) const noexcept {
  Letters letters;
  letters.length = 0;
  if (use_cursor_ && cursor_.stateful != 0 && cursor_.shift_state != 0) return letters;
  const auto left = static_cast<std::size_t>(end_ - at_);
  letters.length = std::min(left, kLongestElement);
  for (std::size_t i = 0; i < letters.length; ++i) {
    std::uint8_t byte = at_[i];
    if (basis == Basis::kEbcdic) {
      const std::uint32_t c =
          nls::Load16(set_, nls::nlb::charset::kSingleAt + 2 * std::size_t{byte});
      byte = c < 0x80 ? ToEbcdic(static_cast<char>(c)) : std::uint8_t{0};
    }
    letters.bytes[i] = byte;
  }
  return letters;
}

void ModelText::Step() noexcept {
  if (at_ >= end_) return;
  if (use_cursor_) {
    lxmfwdx(&cursor_, nls_);
    at_ = cursor_.position;
  } else {
    ++at_;
  }
  Look();
}

}  // namespace kestra::datetime

// A walk over the characters of a format model in the set of a context.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "datetime/text_set.h"
#include "kestra/charset.h"

namespace kestra::datetime {

enum class CharKind : std::uint8_t {
  kEnd,
  kWord,     // letter or digit
  kMark,     // punctuation
  kBlank,    // white space
  kQuote,    // double quote
  kUnknown,  // anything else: no part of a model
};

inline constexpr std::size_t kLongestElement = 12;  // with its suffix

class ModelText {
 public:
  // Without a language the text is ASCII.
  ModelText(std::span<const std::uint8_t> text, const lxhandle* handle, const lxobject* set,
            lxcontext* nls) noexcept;

  // What is under the walker.
  CharKind kind() const noexcept { return kind_; }
  const std::uint8_t* at() const noexcept { return at_; }
  std::size_t offset() const noexcept { return static_cast<std::size_t>(at_ - begin_); }
  // The next characters, as far as an element and its suffix go, as the element table of the set's
  // basis has them: EBCDIC code pages do not agree on small letters. In the shifted state of a set
  // with shift state there are none.
  struct Letters {
    std::uint8_t bytes[kLongestElement];
    std::size_t length;
    std::span<const std::uint8_t> span() const noexcept { return {bytes, length}; }
  };
  Letters NextLetters(Basis basis) const noexcept;

  void Step() noexcept;
  void Step(std::size_t characters) noexcept {
    for (; characters != 0; --characters) Step();
  }

 private:
  void Look() noexcept;
  CharKind KindOfSet() const noexcept;

  const std::uint8_t* begin_;
  const std::uint8_t* at_;
  const std::uint8_t* end_;
  const lxobject* set_;
  lxcontext* nls_;
  CharKind kind_ = CharKind::kEnd;
  bool use_cursor_;
  lxcursor cursor_;
};

}  // namespace kestra::datetime

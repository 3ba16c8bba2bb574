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

class ModelText {
 public:
  // Without a language the text is ASCII.
  ModelText(std::span<const std::uint8_t> text, const lxhandle* handle, const lxobject* set,
            lxcontext* nls) noexcept;

  // What is under the walker.
  CharKind kind() const noexcept { return kind_; }
  const std::uint8_t* at() const noexcept { return at_; }
  std::size_t offset() const noexcept { return static_cast<std::size_t>(at_ - begin_); }
  // The bytes from here on of which each is a character. In the shifted state of a set with shift
  // state: none.
  std::span<const std::uint8_t> Singles() const noexcept;

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

// Does a decoded text look like one that somebody wrote? What speaks against it: control and
// private-use characters, capitals inside a word, signs between letters, letters of two scripts in
// one word, letters that are no language's together, rare letters, Chinese with kana, Japanese
// without, no blanks.
#pragma once

#include <cstdint>
#include <span>

namespace kestra::tools {

// What may be in an ideographic text of a language.
enum class Writing { kAny, kJapanese, kKorean, kChinese };

// Control and private-use characters, noncharacters, U+FFFD.
bool NeverInText(std::uint32_t code_point);

// 1: nothing speaks against it; 0 and below: no text of this writing.
double Plausibility(std::span<const std::uint32_t> text, Writing writing);

}  // namespace kestra::tools

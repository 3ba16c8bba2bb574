// Which character set a text is in: certain where the bytes prove it, honest guesses elsewhere.
//
// A byte-order mark or UTF-8 with characters of several bytes settles it. UTF-16 shows in its zero
// bytes. Everything else is tried: a set in which the text is malformed is out; the others are
// scored by whether the decoded text looks like writing (plausibility.h) and, in East Asian sets,
// by the share of frequent ideographs. Sets that read the same text cannot be told apart by it, and
// are reported together.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "session.h"

namespace kestra::tools {

struct Guess {
  Charset charset;
  double score = 0;        // 1: nothing speaks against it
  bool same_text = false;  // reads the text as the best guess does
};

struct Detection {
  enum class Certainty { kEmpty, kMark, kAscii, kProven, kLikely, kGuess, kBinary };
  Certainty certainty = Certainty::kBinary;
  std::size_t mark_length = 0;
  std::vector<Guess> guesses;  // best first; then those that read the same text; then the others
  std::string reason;          // why the first one
};

// Looks at a sample from the start of a text.
Detection DetectCharset(Session& session, std::span<const std::uint8_t> sample);

}  // namespace kestra::tools

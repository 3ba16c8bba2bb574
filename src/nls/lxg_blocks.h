// Conversion by blocks of code points: the way of the sets that carry a state, and of the XML
// converters, which look at the text between reading and writing.
//
//   source  --BlockDecoder-->  up to 512 code points  --BlockEncoder-->  destination
//
// So n sources and m destinations need n + m loops, and the state of either side stays where it
// belongs. The price is that a block says only where it ends in the source: where a single one of
// its characters begins is found by reading the block again up to there, which a call needs at most
// twice (its first replaced character, and where it stops).
//
// The states of both sides are words of the conversion, 0 at the start of a text, and go through
// the status from call to call. They may come from the caller: every value is safe.
#pragma once

#include <new>
#include <type_traits>

#include "nls/lxg_conversion.h"
#include "nls/lxg_paths.h"

namespace kestra::nls::convert {

class Iso2022;

struct Block {
  static constexpr std::uint32_t kSize = 512;
  std::uint32_t count;               // characters
  std::uint32_t state;               // of the source behind them
  std::size_t bytes;                 // read, shift sequences behind the last character included
  std::uint32_t code_points[kSize];  // kMalformed or kTruncated for what is none
};

// A reader of one set. Next to the function it keeps the tables that the function needs.
class BlockDecoder {
 public:
  // Reads at most limit characters, up to Block::kSize, with the shift sequences around them; at
  // least one byte, unless limit is 0.
  using Function = void (*)(const void* coder, const std::uint8_t* in, const std::uint8_t* end,
                            std::uint32_t state, std::uint32_t limit, Block& block);

  void Read(const Conversion& c, std::uint32_t limit, Block& block) const noexcept {
    function_(coder_, c.in, c.in_end, c.shift_in, limit, block);
  }

  template <typename Coder>
  void Set(Function function, const Coder& coder) noexcept {
    static_assert(sizeof(Coder) <= sizeof coder_ && std::is_trivially_destructible_v<Coder>);
    function_ = function;
    new (coder_) Coder(coder);
  }

 private:
  Function function_ = nullptr;
  alignas(8) unsigned char coder_[96];
};

// A writer of one set.
class BlockEncoder {
 public:
  // Writes characters until one does not fit (c.full), is not in the set or is none; returns how
  // many. Without c.more there is always room left to return to the base state.
  using Function = std::uint32_t (*)(const void* coder, Conversion& c,
                                     const std::uint32_t* code_points, std::uint32_t count);
  // Writes the replacement character; false: it does not fit.
  using ReplaceFunction = bool (*)(const void* coder, Conversion& c);
  // Returns to the base state; sets c.full if that does not fit.
  using FinishFunction = void (*)(const void* coder, Conversion& c);
  // Bytes that the return from a state takes.
  using ReturnFunction = std::uint32_t (*)(std::uint32_t state);

  std::uint32_t Write(Conversion& c, const std::uint32_t* code_points,
                      std::uint32_t count) const noexcept {
    return function_(coder_, c, code_points, count);
  }
  bool Replace(Conversion& c) const noexcept { return replace_(coder_, c); }
  void Finish(Conversion& c) const noexcept {
    if (finish_ != nullptr) finish_(coder_, c);
  }
  std::uint32_t ReturnLength(std::uint32_t state) const noexcept {
    return return_ != nullptr ? return_(state) : 0;
  }

  template <typename Coder>
  void Set(Function function, ReplaceFunction replace, const Coder& coder) noexcept {
    static_assert(sizeof(Coder) <= sizeof coder_ && std::is_trivially_destructible_v<Coder>);
    function_ = function;
    replace_ = replace;
    new (coder_) Coder(coder);
  }
  void SetReturn(FinishFunction finish, ReturnFunction length) noexcept {
    finish_ = finish;
    return_ = length;
  }

 private:
  Function function_ = nullptr;
  ReplaceFunction replace_ = nullptr;
  FinishFunction finish_ = nullptr;
  ReturnFunction return_ = nullptr;
  alignas(8) unsigned char coder_[96];
};

// The reader of a set. False: a data object that it needs cannot be loaded.
bool OpenDecoder(SetKind kind, CharsetView set, const Iso2022& composed,
                 BlockDecoder& decoder) noexcept;

// What becomes of a text between reading and writing.
enum class Markup : std::uint8_t {
  kNone,
  kWrite,  // characters that the destination lacks become XML character references
  kRead,   // XML character references become characters, if the destination has them
};

// Converts c by blocks, whatever the kinds. The ISO-2022 sets load the sets that they are composed
// of through the context; without one of them the conversion is unavailable.
void ConvertByBlocks(Conversion& c, CharsetView source, SetKind source_kind,
                     CharsetView destination, SetKind destination_kind, Markup markup,
                     lxcontext* context) noexcept;

}  // namespace kestra::nls::convert

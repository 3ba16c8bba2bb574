#include "nls/lxg_blocks.h"

#include <algorithm>

#include "nls/lxg_gb18030_codec.h"
#include "nls/lxg_iso2022.h"
#include "nls/lxg_stateful_codec.h"
#include "nls/lxg_xml.h"

namespace kestra::nls::convert {
namespace {

// Sets without a state, by the decoders and encoders of the direct paths.

constexpr std::size_t kFewCharacters = 8;

// Spreads units, which are well formed, into code points; returns how many.
std::uint32_t SpreadUnits(const std::uint16_t* units, std::size_t count,
                          std::uint32_t* code_points) noexcept {
  std::uint32_t* out = code_points;
  for (std::size_t i = 0; i < count; ++i) {
    std::uint32_t code_point = units[i];
    if (IsHighSurrogate(code_point) && i + 1 < count) {
      code_point = JoinSurrogates(code_point, units[++i]);
    }
    *out++ = code_point;
  }
  return static_cast<std::uint32_t>(out - code_points);
}

template <typename Decoder>
void ReadPlain(const void* coder, const std::uint8_t* in, const std::uint8_t* end,
               std::uint32_t state, std::uint32_t limit, Block& block) noexcept {
  const auto& decoder = *static_cast<const Decoder*>(coder);
  const std::uint8_t* p = in;
  std::uint32_t count = 0;
  while (p < end && count < limit) {
    if constexpr (requires { &Decoder::DecodeUnits; }) {
      std::uint16_t units[Block::kSize];
      const kernels::Progress done = decoder.DecodeUnits(
          kernels::GetConvertKernels(), p, static_cast<std::size_t>(end - p), units, limit - count);
      if (done.characters == done.written) {
        for (std::size_t i = 0; i < done.written; ++i) block.code_points[count + i] = units[i];
        count += static_cast<std::uint32_t>(done.written);
      } else {
        count += SpreadUnits(units, done.written, block.code_points + count);
      }
      p += done.consumed;
    }
    for (std::size_t i = 0; i < kFewCharacters && p < end && count < limit; ++i) {
      const Decoded character = decoder.Next(p, end);
      block.code_points[count++] = character.code_point;
      p += character.length;
    }
  }
  block.count = count;
  block.bytes = static_cast<std::size_t>(p - in);
  block.state = state;
}

template <typename Encoder>
std::uint32_t WritePlain(const void* coder, Conversion& c, const std::uint32_t* code_points,
                         std::uint32_t count) noexcept {
  const auto& encoder = *static_cast<const Encoder*>(coder);
  std::uint32_t done = 0;
  while (done < count) {
    if constexpr (requires { &Encoder::EncodeUnits; }) {
      const std::size_t fit = c.room() / Encoder::kUnitSize;
      const std::size_t most = std::min<std::size_t>(fit < 4 ? 0 : fit - 4, count - done);
      std::uint16_t units[Block::kSize];
      const kernels::ConvertKernels& run = kernels::GetConvertKernels();
      const std::size_t plain = run.narrow_code_points(code_points + done, most, units);
      const kernels::Progress part = encoder.EncodeUnits(run, units, plain, c.out, c.room());
      c.out += part.written;
      done += static_cast<std::uint32_t>(part.consumed);
    }
    for (std::size_t i = 0; i < kFewCharacters && done < count; ++i) {
      const std::uint32_t code_point = code_points[done];
      if (code_point > kMaxCodePoint) return done;
      const Encoded encoded = encoder.Encode(code_point);
      if (encoded.length == 0 || !c.Emit(encoded)) return done;
      if (code_point == kReplacementCharacter) c.produced_replacement = true;
      ++done;
    }
  }
  return done;
}

template <typename Encoder>
bool ReplacePlain(const void* coder, Conversion& c) noexcept {
  return c.Emit(static_cast<const Encoder*>(coder)->replacement());
}

template <typename Coder>
bool Open(BlockDecoder& decoder, const Coder& coder) noexcept {
  decoder.Set(ReadPlain<Coder>, coder);
  return true;
}
template <typename Coder>
bool Open(BlockEncoder& encoder, const Coder& coder) noexcept {
  encoder.Set(WritePlain<Coder>, ReplacePlain<Coder>, coder);
  return true;
}

// A conversion under way.
class Blocks {
 public:
  Blocks(Conversion& c, const BlockDecoder& from, const BlockEncoder& to, Markup markup) noexcept
      : c_(c), from_(from), to_(to), markup_(markup) {}

  void Run() noexcept {
    while (c_.in < c_.in_end && Step()) {
    }
    if (!c_.more) to_.Finish(c_);
  }

 private:
  // Reads a block and writes it. False: the conversion ends here.
  bool Step() noexcept {
    from_.Read(c_, Block::kSize, block_);
    const bool last = markup_ == Markup::kRead && !references_.Merge(c_, from_, block_);
    std::uint32_t done = 0;
    for (;;) {
      done += to_.Write(c_, block_.code_points + done, block_.count - done);
      if (done == block_.count) break;
      if (c_.full || !PassOther(done)) {
        c_.characters += done;
        Reposition(done);
        return false;
      }
      ++done;
    }
    c_.characters += done;
    c_.in += block_.bytes;
    c_.shift_in = block_.state;
    return !last;
  }

  // Writes what stands for the block's character of that number, which the destination does not
  // have or which is none. False: it ends the conversion.
  bool PassOther(std::uint32_t number) noexcept {
    std::uint32_t code_point = block_.code_points[number];
    if ((code_point & xml::kReferenceMark) != 0) {
      code_point &= ~xml::kReferenceMark;
      if (to_.Write(c_, &code_point, 1) == 1) return true;
      if (c_.full) return false;
      return xml::WriteReference(c_, to_, code_point) || (!c_.full && Replace(number));
    }
    if (markup_ == Markup::kWrite && code_point <= kMaxCodePoint) {
      if (xml::WriteReference(c_, to_, code_point)) return true;
      if (c_.full) return false;
    }
    return Replace(number);
  }

  bool Replace(std::uint32_t number) noexcept {
    if (block_.code_points[number] == kTruncated && c_.more) return false;
    if (!c_.stop && !to_.Replace(c_)) return false;
    c_.produced_replacement |= !c_.stop;
    if (c_.first_replaced == UINT64_MAX) {
      Block before;
      from_.Read(c_, Origin(number), before);
      c_.first_replaced = static_cast<std::uint64_t>(c_.in - c_.start) + before.bytes;
    }
    return !c_.stop;
  }

  // Stops in front of the block's character of that number.
  void Reposition(std::uint32_t number) noexcept {
    from_.Read(c_, Origin(number), block_);
    c_.in += block_.bytes;
    c_.shift_in = block_.state;
  }

  // The number of a character before references were merged.
  std::uint32_t Origin(std::uint32_t number) const noexcept {
    return markup_ == Markup::kRead ? references_.Origin(number) : number;
  }

  Conversion& c_;
  const BlockDecoder& from_;
  const BlockEncoder& to_;
  Markup markup_;
  Block block_;
  xml::References references_;
};

bool OpenEncoder(SetKind kind, CharsetView set, const Iso2022& composed,
                 BlockEncoder& encoder) noexcept {
  switch (kind) {
    case SetKind::kUtf8:
      return Open(encoder, Utf8Encoder{});
    case SetKind::kUtf8Units:
      return Open(encoder, Cesu8Encoder{});
    case SetKind::kUtfEbcdic:
      return Open(encoder, UtfEbcdicEncoder{});
    case SetKind::kUtf16Be:
    case SetKind::kUtf16Marked:
      return Open(encoder, Utf16Encoder<std::endian::big>{});
    case SetKind::kUtf16Le:
      return Open(encoder, Utf16Encoder<std::endian::little>{});
    case SetKind::kSingle:
      return Open(encoder, TableEncoder<1>(set));
    case SetKind::kMultibyte:
      return Open(encoder, TableEncoder<2>(set));
    case SetKind::kMultibyteWide:
      return Open(encoder, TableEncoder<4>(set));
    case SetKind::kGb18030:
      return Open(encoder, Gb18030Encoder(set));
    case SetKind::kStateful:
      encoder.Set(StatefulEncoder::Write, StatefulEncoder::Replace, StatefulEncoder(set));
      encoder.SetReturn(StatefulEncoder::Finish, StatefulEncoder::ReturnLength);
      return true;
    case SetKind::kIso2022:
      return composed.Open(encoder);
    default:
      return false;
  }
}

}  // namespace

bool OpenDecoder(SetKind kind, CharsetView set, const Iso2022& composed,
                 BlockDecoder& decoder) noexcept {
  switch (kind) {
    case SetKind::kUtf8:
      return Open(decoder, Utf8Decoder{});
    case SetKind::kUtf8Units:
      return Open(decoder, Cesu8Decoder{});
    case SetKind::kUtfEbcdic:
      return Open(decoder, UtfEbcdicDecoder{});
    case SetKind::kUtf16Be:
      return Open(decoder, Utf16Decoder<std::endian::big>{});
    case SetKind::kUtf16Le:
      return Open(decoder, Utf16Decoder<std::endian::little>{});
    case SetKind::kSingle:
      return Open(decoder, SingleDecoder(set));
    case SetKind::kMultibyte:
    case SetKind::kMultibyteWide:
      return Open(decoder, MultibyteDecoder(set));
    case SetKind::kGb18030:
      return Open(decoder, Gb18030Decoder(set));
    case SetKind::kStateful:
      decoder.Set(StatefulDecoder::Read, StatefulDecoder(set));
      return true;
    case SetKind::kIso2022:
      return composed.Open(decoder);
    default:
      return false;
  }
}

void ConvertByBlocks(Conversion& c, CharsetView source, SetKind source_kind,
                     CharsetView destination, SetKind destination_kind, Markup markup,
                     lxcontext* context) noexcept {
  const Iso2022 source_parts(source_kind == SetKind::kIso2022 ? source.id() : 0, context);
  const Iso2022 destination_parts(destination_kind == SetKind::kIso2022 ? destination.id() : 0,
                                  context);
  BlockDecoder decoder;
  BlockEncoder encoder;
  if (OpenDecoder(source_kind, source, source_parts, decoder) &&
      OpenEncoder(destination_kind, destination, destination_parts, encoder)) {
    Blocks(c, decoder, encoder, markup).Run();
  } else {
    c.unavailable = true;
  }
}

}  // namespace kestra::nls::convert

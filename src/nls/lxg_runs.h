// The fast way around the loop of lxg_conversion.h: whole runs by kernels.
//
// Between UTF-16 and UTF-8 a kernel does it all. Every other pair goes through a block of UTF-16
// units on the stack: the decoder makes units of the source until something is not plain, the
// encoder makes bytes of them until something is not in the set. So n decoders and m encoders give
// n x m fast paths, and each of the two loops is simple enough to be a kernel:
//
//   source  --single_to_units-->  units  --utf16_to_utf8-->  destination
//
// What is not plain (malformed, replaced, incomplete, short of room) is left to the slow loop,
// which takes a few characters and then hands back, so the result is the slow loop's in every case.
#pragma once

#include "nls/kernels/convert_kernels.h"
#include "nls/lxg_gb18030_codec.h"
#include "nls/lxg_table_codec.h"
#include "nls/lxg_unicode_codec.h"

namespace kestra::nls::convert {

inline constexpr std::size_t kMaxBlock = 1024;  // units
inline constexpr std::size_t kMinBlock = 16;
inline constexpr int kSlowSteps = 8;

template <typename Decoder, typename Encoder>
inline bool ConvertFew(Conversion& c, const Decoder& decoder, const Encoder& encoder) noexcept {
  for (int i = 0; i < kSlowSteps && c.in < c.in_end; ++i) {
    if (!ConvertOne(c, decoder, encoder)) return false;
  }
  return c.in < c.in_end;
}

inline void Advance(Conversion& c, std::size_t consumed, std::size_t written,
                    std::size_t characters) noexcept {
  KES_DCHECK(consumed <= c.source_left() && written <= c.room());
  c.in += consumed;
  c.out += written;
  c.characters += characters;
}

// The source bytes and characters behind the first `count` units.
template <typename Decoder>
inline kernels::Progress MeasureUnits(const Decoder& decoder, const std::uint8_t* in,
                                      const std::uint8_t* end, std::size_t count) noexcept {
  kernels::Progress done;
  while (done.written < count) {
    const Decoded character = decoder.Next(in + done.consumed, end);
    done.consumed += character.length;
    done.written += character.code_point < 0x10000 ? 1 : 2;
    ++done.characters;
  }
  return done;
}

template <typename Decoder, typename Encoder>
inline void ConvertThroughUnits(Conversion& c, const Decoder& decoder,
                                const Encoder& encoder) noexcept {
  if constexpr (
      !requires { &Decoder::DecodeUnits; } || !requires { &Encoder::EncodeUnits; }) {
    const bool ascii = decoder.ascii_runs() && encoder.ascii_runs();
    const kernels::ConvertKernels& run = kernels::GetConvertKernels();
    do {
      if (ascii) {
        const std::size_t most = c.room() < c.source_left() ? c.room() : c.source_left();
        const std::size_t done = run.copy_ascii(c.in, most, c.out);
        Advance(c, done, done, done);
        if (c.in == c.in_end) return;
      }
    } while (ConvertFew(c, decoder, encoder));
  } else {
    const bool ascii = decoder.ascii_runs() && encoder.ascii_runs();
    const kernels::ConvertKernels& run = kernels::GetConvertKernels();
    std::size_t limit = kMaxBlock;
    alignas(64) std::uint16_t units[kMaxBlock];
    for (;;) {
      if (ascii && *c.in < 0x80) {
        const std::size_t most = c.room() < c.source_left() ? c.room() : c.source_left();
        const std::size_t done = run.copy_ascii(c.in, most, c.out);
        Advance(c, done, done, done);
        if (c.in == c.in_end) return;
      }
      // A full block needs the longest form of every unit, and four bytes to store the last one.
      std::size_t block = c.room() / Encoder::kUnitSize;
      block = block < kMinBlock + 4 ? 0 : block - 4;
      block = block < limit ? block : limit;
      if (block != 0 && c.source_left() >= kMinBlock) {
        const kernels::Progress read =
            decoder.DecodeUnits(run, c.in, c.source_left(), units, block);
        const kernels::Progress write =
            encoder.EncodeUnits(run, units, read.written, c.out, c.room());
        if (write.consumed == read.written) {
          Advance(c, read.consumed, write.written, read.characters);
          if (c.in == c.in_end) return;
          limit = 2 * limit < kMaxBlock ? 2 * limit : kMaxBlock;
          if (2 * read.written > block) continue;  // it stopped for the end of the block
        } else {
          const kernels::Progress part = MeasureUnits(decoder, c.in, c.in_end, write.consumed);
          Advance(c, part.consumed, write.written, part.characters);
          limit = 4 * kMinBlock;
        }
      }
      if (!ConvertFew(c, decoder, encoder)) return;
    }
  }
}

inline constexpr std::size_t kWorthCollecting = 1024;

// For longer texts the tables that are looked into again and again are first put in order.
template <typename Decoder, typename Encoder>
inline void ConvertText(Conversion& c, const Decoder& decoder, const Encoder& encoder) noexcept {
  constexpr bool kHasRows = requires(kernels::LeadRows & rows) { decoder.CollectRows(rows); };
  constexpr bool kHasBases = requires(kernels::EncodeBases & bases) {
    encoder.CollectBases(bases);
  };
  if constexpr (kHasRows) {
    if (c.source_left() >= kWorthCollecting) {
      kernels::LeadRows rows;
      const Decoder ordered = decoder.CollectRows(rows);
      if constexpr (kHasBases) {
        kernels::EncodeBases bases;
        ConvertThroughUnits(c, ordered, encoder.CollectBases(bases));
      } else {
        ConvertThroughUnits(c, ordered, encoder);
      }
      return;
    }
  } else if constexpr (kHasBases) {
    if (c.source_left() >= kWorthCollecting) {
      kernels::EncodeBases bases;
      ConvertThroughUnits(c, decoder, encoder.CollectBases(bases));
      return;
    }
  }
  ConvertThroughUnits(c, decoder, encoder);
}

// The pairs that have a kernel of their own.
template <typename Kernel, typename Decoder, typename Encoder>
inline void ConvertByKernel(Conversion& c, const Decoder& decoder, const Encoder& encoder,
                            Kernel kernel) noexcept {
  do {
    const kernels::Progress done = kernel(c.in, c.source_left(), c.out, c.room());
    Advance(c, done.consumed, done.written, done.characters);
    if (c.in == c.in_end) return;
  } while (ConvertFew(c, decoder, encoder));
}

inline void ConvertText(Conversion& c, const Utf16Decoder<std::endian::big>& decoder,
                        const Utf8Encoder& encoder) noexcept {
  ConvertByKernel(c, decoder, encoder, kernels::GetConvertKernels().utf16be_to_utf8);
}
inline void ConvertText(Conversion& c, const Utf16Decoder<std::endian::little>& decoder,
                        const Utf8Encoder& encoder) noexcept {
  ConvertByKernel(c, decoder, encoder, kernels::GetConvertKernels().utf16le_to_utf8);
}
inline void ConvertText(Conversion& c, const Utf8Decoder& decoder,
                        const Utf16Encoder<std::endian::big>& encoder) noexcept {
  ConvertByKernel(c, decoder, encoder, kernels::GetConvertKernels().utf8_to_utf16be);
}
inline void ConvertText(Conversion& c, const Utf8Decoder& decoder,
                        const Utf16Encoder<std::endian::little>& encoder) noexcept {
  ConvertByKernel(c, decoder, encoder, kernels::GetConvertKernels().utf8_to_utf16le);
}
inline void ConvertText(Conversion& c, const SingleDecoder& decoder,
                        const Utf8Encoder& encoder) noexcept {
  const kernels::ConvertKernels& run = kernels::GetConvertKernels();
  ConvertByKernel(c, decoder, encoder, [&](const auto* in, auto size, auto* out, auto room) {
    const std::size_t most = size < room ? size : room;
    kernels::Progress done;
    if (decoder.ascii_runs()) {
      done.consumed = done.written = done.characters = run.copy_ascii(in, most, out);
      if (done.consumed == size) return done;
    }
    const kernels::Progress rest =
        run.single_to_utf8(decoder.code_points(), decoder.ascii_runs(), in + done.consumed,
                           size - done.consumed, out + done.written, room - done.written);
    return kernels::Progress{done.consumed + rest.consumed, done.written + rest.written,
                             done.characters + rest.characters};
  });
}
inline void ConvertText(Conversion& c, const Utf8Decoder& decoder,
                        const TableEncoder<1>& encoder) noexcept {
  const kernels::ConvertKernels& run = kernels::GetConvertKernels();
  ConvertByKernel(c, decoder, encoder, [&](const auto* in, auto size, auto* out, auto room) {
    const std::size_t most = size < room ? size : room;
    kernels::Progress done;
    if (encoder.ascii_runs()) {
      done.consumed = done.written = done.characters = run.copy_ascii(in, most, out);
      if (done.consumed == size) return done;
    }
    const kernels::Progress rest =
        run.utf8_to_single(encoder.bytes_table(), encoder.ascii_runs(), in + done.consumed,
                           size - done.consumed, out + done.written, room - done.written);
    return kernels::Progress{done.consumed + rest.consumed, done.written + rest.written,
                             done.characters + rest.characters};
  });
}

}  // namespace kestra::nls::convert

#include "datetime/utf16_text.h"

#include "datetime/text_set.h"
#include "kestra/convert.h"
#include "nls/handle_parts.h"

namespace kestra::datetime {
namespace {

constexpr std::uint16_t kBigEndianId = 2000;
constexpr std::uint16_t kLittleEndianId = 2002;
constexpr std::uint32_t kReplacement = 0xFFFD;
constexpr std::uint32_t kPastUnits = 0x10000;

constexpr bool IsHigh(std::uint32_t unit) noexcept { return (unit & 0xFC00u) == 0xD800u; }
constexpr bool IsLow(std::uint32_t unit) noexcept { return (unit & 0xFC00u) == 0xDC00u; }

std::uint8_t* PutUtf8(std::uint8_t* out, std::uint32_t c) noexcept {
  const auto tail = [](std::uint32_t bits) {
    return static_cast<std::uint8_t>(0x80u | (bits & 0x3Fu));
  };
  if (c < 0x80) {
    *out++ = static_cast<std::uint8_t>(c);
    return out;
  }
  if (c < 0x800) {
    *out++ = static_cast<std::uint8_t>(0xC0u | c >> 6);
  } else {
    if (c < kPastUnits) {
      *out++ = static_cast<std::uint8_t>(0xE0u | c >> 12);
    } else {
      *out++ = static_cast<std::uint8_t>(0xF0u | c >> 18);
      *out++ = tail(c >> 12);
    }
    *out++ = tail(c >> 6);
  }
  *out++ = tail(c);
  return out;
}

struct Decoded {
  std::uint32_t c;
  std::size_t length;
};

// The character at the start of text; a byte that begins none is U+FFFD by itself.
Decoded DecodeUtf8(std::span<const std::uint8_t> text) noexcept {
  const std::uint8_t lead = text[0];
  if (lead < 0x80) return {lead, 1};
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return {kReplacement, 1};
  std::uint32_t c = lead & (0x7Fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((text[i] & 0xC0u) != 0x80) return {kReplacement, 1};
    c = c << 6 | (text[i] & 0x3Fu);
  }
  constexpr std::uint32_t kLeast[5] = {0, 0, 0x80, 0x800, kPastUnits};
  const bool half = c >= 0xD800 && c <= 0xDFFF;
  if (c < kLeast[length] || c > 0x10FFFF || half) return {kReplacement, 1};
  return {c, length};
}

}  // namespace

UnitOrder OrderOfSet(const lxhandle& handle) noexcept {
  return handle.charset_id == kLittleEndianId ? UnitOrder::kLittle : UnitOrder::kBig;
}

UnitOrder OrderOfUnits(const ldxctx& ctx) noexcept {
  if (ctx.handle == nullptr || !StateOf(ctx).two_byte_units) return kPlatformOrder;
  return OrderOfSet(*ctx.handle);
}

const lxobject* UnitSet(const ldxctx& ctx) noexcept {
  return nls::CharsetObject(
      OrderOfUnits(ctx) == UnitOrder::kLittle ? kLittleEndianId : kBigEndianId, ctx.nls);
}

bool KeepsUtf8(const ldxctx& ctx) noexcept {
  return ctx.handle != nullptr &&
         (StateOf(ctx).two_byte_units || (ctx.handle->flags & KES_CHARSET_UTF8) != 0);
}

std::size_t UnitsToUtf8(std::span<const std::uint8_t> units, UnitOrder order,
                        std::uint8_t* out) noexcept {
  std::uint8_t* at = out;
  const std::size_t whole = units.size() & ~std::size_t{1};
  for (std::size_t i = 0; i < whole; i += 2) {
    std::uint32_t c = UnitAt(units.data() + i, order);
    if (IsHigh(c) && i + 2 < whole && IsLow(UnitAt(units.data() + i + 2, order))) {
      i += 2;
      c = kPastUnits + ((c & 0x3FFu) << 10) + (UnitAt(units.data() + i, order) & 0x3FFu);
    } else if (IsHigh(c) || IsLow(c)) {
      c = kReplacement;
    }
    at = PutUtf8(at, c);
  }
  if (whole != units.size()) at = PutUtf8(at, kReplacement);
  return static_cast<std::size_t>(at - out);
}

bool Utf8ToUnits(std::span<const std::uint8_t> text, UnitOrder order, std::span<std::uint8_t> out,
                 std::size_t& used) noexcept {
  for (std::size_t i = 0; i < text.size();) {
    const Decoded decoded = DecodeUtf8(text.subspan(i));
    const std::size_t needed = decoded.c < kPastUnits ? 2 : 4;
    if (out.size() - used < needed) return false;
    if (needed == 4) {
      const std::uint32_t bits = decoded.c - kPastUnits;
      PutUnit(&out[used], 0xD800u | bits >> 10, order);
      PutUnit(&out[used + 2], 0xDC00u | (bits & 0x3FFu), order);
    } else {
      PutUnit(&out[used], decoded.c, order);
    }
    used += needed;
    i += decoded.length;
  }
  return true;
}

bool TextToUnits(const ldxctx& ctx, std::span<const std::uint8_t> text, std::span<std::uint8_t> out,
                 std::size_t& used) noexcept {
  if (ctx.handle == nullptr || KeepsUtf8(ctx)) {
    return Utf8ToUnits(text, OrderOfUnits(ctx), out, used);
  }
  const std::span<std::uint8_t> room = out.subspan(used);
  used += lxgcnv(room.data(), UnitSet(ctx), room.size(), text.data(), TextSet(ctx), text.size(),
                 ctx.nls);
  return ctx.nls->error != KES_NLS_DESTINATION_FULL;
}

std::size_t UnitBytes(std::span<const std::uint8_t> text) noexcept {
  std::size_t bytes = 0;
  for (const std::uint8_t byte : text) {
    if ((byte & 0xC0u) != 0x80) bytes += byte >= 0xF0 ? 4 : 2;
  }
  return bytes;
}

}  // namespace kestra::datetime

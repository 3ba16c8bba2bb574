// The wide form: a character as the number its bytes make, the first byte highest. So U+65E5 is
// C6FC in EUC-JP and E697A5 in UTF-8. It needs no tables to get there or back, every well-formed
// text survives the way but for redundant shifts, and the sets' own order is the order of the
// numbers. How many bytes a number has is seen from it, but for the two-byte units of UTF-16, which
// may begin with 00.
#include <cstring>

#include "kestra/charset.h"
#include "nls/lxm_cursor.h"

namespace kestra::nls::cursor {
namespace {

constexpr std::size_t kMostBytes = 4;

struct WideBytes {
  std::uint8_t bytes[kMostBytes];
  std::size_t length;
};

WideBytes Unpack(std::uint32_t wide, const lxhandle& handle) noexcept {
  WideBytes result{};
  result.length = wide > 0xFFFFFF ? 4 : wide > 0xFFFF ? 3 : wide > 0xFF ? 2 : 1;
  if ((handle.flags & KES_CHARSET_UTF16) != 0)
    result.length = (result.length + 1) & ~std::size_t{1};
  for (std::size_t i = 0; i < result.length; ++i) {
    result.bytes[i] = static_cast<std::uint8_t>(wide >> (8 * (result.length - 1 - i)));
  }
  return result;
}

std::uint32_t Pack(const std::uint8_t* bytes, std::size_t length) noexcept {
  std::uint32_t wide = 0;
  for (std::size_t i = 0; i < length; ++i) wide = wide << 8 | bytes[i];
  return wide;
}

int Test(std::uint32_t wide, const lxhandle* handle, lxcontext* context,
         std::uint32_t bits) noexcept {
  const WideBytes character = Unpack(wide, *handle);
  lxcursor cursor;
  lxmopen(character.bytes, character.length, &cursor, handle, context, 1);
  if (cursor.charset == nullptr) return 0;
  cursor.shift_state = cursor.stateful != 0 && character.length > 1;
  if (CharacterLength(cursor, character.length) != character.length) return 0;
  return (ClassWord(cursor) & bits) != 0;
}

// Writes the bytes of wide characters, for stateful sets with the shifts that they need.
class Writer {
 public:
  Writer(std::uint8_t* out, std::size_t room, const lxhandle& handle) noexcept
      : start_(out), out_(out), end_(out + room), handle_(handle) {}

  // False: it does not fit.
  bool Put(std::uint32_t wide) noexcept {
    const WideBytes character = Unpack(wide, handle_);
    const bool stateful = (handle_.flags & KES_CHARSET_STATEFUL) != 0;
    const bool shifted = stateful && character.length > 1;
    const std::size_t change = shifted != shifted_ ? 1 : 0;
    const auto room = static_cast<std::size_t>(end_ - out_);
    if (room < change + character.length + (shifted ? 1 : 0)) return false;
    if (change != 0) *out_++ = shifted ? handle_.shift_out : handle_.shift_in;
    shifted_ = shifted;
    std::memcpy(out_, character.bytes, character.length);
    out_ += character.length;
    return true;
  }

  std::size_t Finish() noexcept {
    if (shifted_) *out_++ = handle_.shift_in;  // every shifted character left room for it
    return static_cast<std::size_t>(out_ - start_);
  }

 private:
  std::uint8_t* start_;
  std::uint8_t* out_;
  std::uint8_t* end_;
  const lxhandle& handle_;
  bool shifted_ = false;
};

void Report(std::uint64_t consumed, std::uint64_t characters, bool full,
            lxcontext* context) noexcept {
  context->error = full ? KES_NLS_DESTINATION_FULL : KES_NLS_OK;
  context->status = lxstatus{};
  context->status.consumed = consumed;
  context->status.first_replaced = UINT64_MAX;
  context->status.characters = static_cast<std::uint16_t>(characters);
  context->status.characters_total = characters;
}

constexpr std::uint32_t kGraphic = KES_CLASS_ALPHABETIC | KES_CLASS_DIGIT | KES_CLASS_PUNCTUATION;

}  // namespace
}  // namespace kestra::nls::cursor

extern "C" {

size_t lxwfrmb(uint32_t* wide, size_t room, const uint8_t* text, size_t length,
               const lxhandle* handle, lxcontext* context) noexcept {
  namespace inner = kestra::nls::cursor;
  lxcursor cursor;
  lxmopen(text, length, &cursor, handle, context, 0);
  if (cursor.charset == nullptr) {
    inner::Report(0, 0, false, context);
    context->error = KES_NLS_OBJECT_UNAVAILABLE;
    return 0;
  }
  if (wide == nullptr) room = 0;
  std::size_t count = 0;
  std::size_t left;
  for (; count < room && (left = inner::BytesLeft(cursor)) != 0; ++count) {
    const std::uint8_t* at = cursor.position;
    const std::size_t bytes = inner::CharacterLength(cursor, left);
    // What is cut off by the end goes byte by byte, as the cursor steps.
    const bool whole = lxmfwdx(&cursor, context) != 0 && bytes <= inner::kMostBytes;
    wide[count] = inner::Pack(at, whole ? bytes : 1);
  }
  left = inner::BytesLeft(cursor);
  inner::Report(cursor.length - left, count, left != 0, context);
  return count;
}

size_t lxwtomb(uint8_t* destination, size_t room, const uint32_t* wide, size_t count,
               const lxhandle* handle, lxcontext* context) noexcept {
  namespace inner = kestra::nls::cursor;
  inner::Writer writer(destination, destination == nullptr ? 0 : room, *handle);
  std::size_t done = 0;
  while (done < count && writer.Put(wide[done])) ++done;
  inner::Report(done * sizeof *wide, done, done < count, context);
  return writer.Finish();
}

#define KES_WIDE_TEST(name, bits)                                                \
  int name(uint32_t wide, const lxhandle* handle, lxcontext* context) noexcept { \
    return kestra::nls::cursor::Test(wide, handle, context, (bits));             \
  }
KES_WIDE_TEST(lxwalnx, KES_CLASS_ALPHABETIC | KES_CLASS_DIGIT)
KES_WIDE_TEST(lxwalpx, KES_CLASS_ALPHABETIC)
KES_WIDE_TEST(lxwcntx, KES_CLASS_CONTROL)
KES_WIDE_TEST(lxwdigx, KES_CLASS_DIGIT)
KES_WIDE_TEST(lxwgrax, kestra::nls::cursor::kGraphic)
KES_WIDE_TEST(lxwlowx, KES_CLASS_LOWER)
KES_WIDE_TEST(lxwprix, kestra::nls::cursor::kGraphic | KES_CLASS_BLANK)
KES_WIDE_TEST(lxwpunx, KES_CLASS_PUNCTUATION)
KES_WIDE_TEST(lxwspax, KES_CLASS_SPACE)
KES_WIDE_TEST(lxwuppx, KES_CLASS_UPPER)
KES_WIDE_TEST(lxwxdix, KES_CLASS_HEX_DIGIT)
#undef KES_WIDE_TEST

}  // extern "C"

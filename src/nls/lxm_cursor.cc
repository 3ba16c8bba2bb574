// The character cursor: how far the next character reaches, by the facts in the handle.
#include "nls/lxm_cursor.h"

#include "kestra/charset.h"
#include "kestra/object.h"
#include "nls/object_view.h"

namespace kestra::nls::cursor {

std::size_t Gb18030Length(const std::uint8_t* p, std::size_t left) noexcept {
  if (p[0] < 0x80) return 1;
  return left > 1 && p[1] >= 0x30 && p[1] <= 0x39 ? 4 : 2;
}

std::size_t SkipShifts(const lxhandle& handle, const std::uint8_t* p, const std::uint8_t* end,
                       std::uint32_t* shift_state) noexcept {
  const std::uint8_t* start = p;
  for (; p < end; ++p) {
    if (*p == handle.shift_out) {
      *shift_state = 1;
    } else if (*p == handle.shift_in) {
      *shift_state = 0;
    } else {
      break;
    }
  }
  return static_cast<std::size_t>(p - start);
}

std::size_t CharacterLength(const lxcursor& cursor, std::size_t left) noexcept {
  const std::uint32_t flags = cursor.handle->flags;
  if ((flags & KES_CHARSET_UTF8) == 0) {
    if ((flags & KES_CHARSET_GB18030) != 0) return Gb18030Length(cursor.position, left);
    if (cursor.stateful != 0) {
      return cursor.shift_state != 0 ? std::size_t{cursor.handle->shifted_width} : 1;
    }
  }
  return (ClassOfByte(cursor, *cursor.position) & KES_CLASS_LENGTH) + 1u;
}

}  // namespace kestra::nls::cursor

extern "C" {

lxcursor* lxmopen(const uint8_t* text, size_t length, lxcursor* cursor, const lxhandle* handle,
                  lxcontext* context, uint32_t options) noexcept {
  namespace inner = kestra::nls::cursor;
  *cursor = lxcursor{};
  cursor->position = text;
  cursor->start = text;
  cursor->length = text == nullptr ? 0 : length;
  cursor->handle = handle;
  cursor->options = options;
  cursor->single_byte = (handle->flags & KES_CHARSET_SINGLE) != 0;
  cursor->stateful = (handle->flags & KES_CHARSET_STATEFUL) != 0;
  // The object whose classes serve the set: 1000 and 2002 have none of their own.
  cursor->charset = lxdgetobj(handle->charset_slot, KES_OBJECT_CHARSET, context);
  context->error = cursor->charset != nullptr ? KES_NLS_OK : KES_NLS_OBJECT_UNAVAILABLE;
  if (cursor->charset != nullptr) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(cursor->charset);
    cursor->class_table = reinterpret_cast<const std::uint16_t*>(bytes + handle->class_table);
  }
  if (cursor->stateful != 0 && cursor->length != 0 && options == 0) {
    cursor->position +=
        inner::SkipShifts(*handle, text, text + cursor->length, &cursor->shift_state);
  }
  return cursor;
}

size_t lxmfwdx(lxcursor* cursor, lxcontext* context) noexcept {
  namespace inner = kestra::nls::cursor;
  context->error = KES_NLS_OK;
  const std::size_t left = inner::BytesLeft(*cursor);
  if (left == 0) return 0;
  std::size_t length = inner::CharacterLength(*cursor, left);
  if (length == 0 || length > left) {
    ++cursor->position;
    return 0;
  }
  if (cursor->stateful != 0) {
    length += inner::SkipShifts(*cursor->handle, cursor->position + length,
                                cursor->start + cursor->length, &cursor->shift_state);
  }
  cursor->position += length;
  return length;
}

}  // extern "C"

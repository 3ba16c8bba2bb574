// Walking and classifying any text in any set: the cursor reaches the end, stays inside, and agrees
// with itself.
//
// Input: set, options, then the text. Laws: every step advances by what it returns, or by one byte
// when it returns 0; the classes nest (a digit is alphanumeric, what is graphic is printable ...);
// the wide form stays in its room in both directions, and what was written from it reads back as it;
// a scan ends where a conversion replaces first.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "kestra/charset.h"
#include "kestra/convert.h"
#include "tests/support/fuzz_input.h"

namespace {

using kestra::test::Require;

struct Handles {
  lxcontext context;
  std::vector<lxhandle> handles;
};

Handles& AllHandles() {
  static Handles all;
  if (!all.handles.empty()) return all;
  setenv("KESTRA_HOME", KESTRA_BUILD_DIR "/home", 1);
  std::uint32_t error = 0;
  lxinitc(&all.context, lxlinit(nullptr, 0, &error), nullptr, 0);
  Require(error == 0);
  lxhandle handle;
  Require(lxhLaToId(nullptr, 0, &handle, 0, &all.context) != nullptr);
  for (std::uint32_t id = 1; id < 9994; ++id) {  // the ISO-2022 sets have no handles
    if (id != 1000 && id != 2002 && lxhid2name(KES_ITEM_CHARSET, id, &all.context) == nullptr) {
      continue;
    }
    Require(lxpcset(id, &handle, &all.context) == 1);
    all.handles.push_back(handle);
  }
  return all;
}

void CheckClasses(const lxcursor& cursor, lxcontext* context) {
  const bool letter = lxmalpx(&cursor, context) != 0;
  const bool digit = lxmdigx(&cursor, context) != 0;
  const bool graphic = lxmgrax(&cursor, context) != 0;
  const bool printable = lxmprix(&cursor, context) != 0;
  Require((lxmalnx(&cursor, context) != 0) == (letter || digit));
  Require(!letter || graphic);
  Require(!digit || graphic);
  Require(lxmpunx(&cursor, context) == 0 || graphic);
  Require(!graphic || printable);
  Require(lxmcntx(&cursor, context) == 0 || !graphic);
  lxmuppx(&cursor, context);
  lxmlowx(&cursor, context);
  lxmspax(&cursor, context);
  lxmxdix(&cursor, context);
}

// Both forms end where their allocation ends. room is in wide characters one way, in bytes the other.
void CheckWideForm(const std::uint8_t* text, std::size_t length, std::size_t room,
                   const lxhandle& handle, lxcontext* context) {
  const std::unique_ptr<std::uint32_t[]> wide(new std::uint32_t[room]);
  const std::size_t count = lxwfrmb(wide.get(), room, text, length, &handle, context);
  Require(count <= room && context->status.consumed <= length);
  Require((context->error == KES_NLS_OK) == (context->status.consumed == length));
  for (std::size_t i = 0; i < count; ++i) {
    const bool letter = lxwalpx(wide[i], &handle, context) != 0;
    const bool digit = lxwdigx(wide[i], &handle, context) != 0;
    Require((lxwalnx(wide[i], &handle, context) != 0) == (letter || digit));
  }
  const std::unique_ptr<std::uint8_t[]> back(new std::uint8_t[room]);
  const std::size_t written = lxwtomb(back.get(), room, wide.get(), count, &handle, context);
  const auto taken = static_cast<std::size_t>(context->status.characters_total);
  Require(written <= room && taken <= count);
  Require((context->error == KES_NLS_OK) == (taken == count));
  // Shifts and pieces of characters in the text are the only things that change on the way.
  if ((handle.flags & (KES_CHARSET_STATEFUL | KES_CHARSET_UTF16)) != 0) return;
  Require(written <= length && std::equal(text, text + written, back.get()));
}

// A scan ends where a conversion replaces first, and counts as the cursor steps.
void CheckScan(const std::uint8_t* text, std::size_t length, const lxhandle& handle,
               lxcontext* context) {
  lxscan scan;
  Require(lxcscan(text, length, &scan, &handle, context) <= length);
  std::vector<std::uint8_t> out(4 * length + 8);
  lxgcnvb(out.data(), lxpcobj(2000, context), out.size(), text, lxhcsobj(&handle, context), length,
          KES_CONVERT_STOP, context);
  const std::uint64_t first = context->status.first_replaced;
  // A scan and a conversion leave the odd last byte of UTF-16 alone.
  Require(handle.charset_id == 1000 ||
          scan.length == (first == UINT64_MAX ? context->status.consumed : first));
  lxcursor cursor;
  lxmopen(text, static_cast<std::size_t>(scan.length), &cursor, &handle, context, 0);
  std::uint64_t steps = 0;
  while (lxmfwdx(&cursor, context) != 0) ++steps;
  Require(steps == scan.characters);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  Handles& all = AllHandles();
  const lxhandle& handle = all.handles[data[0] % all.handles.size()];
  const std::size_t length = size - 2;
  const std::unique_ptr<std::uint8_t[]> text(new std::uint8_t[length]);
  if (length != 0) std::memcpy(text.get(), data + 2, length);

  lxcursor cursor;
  lxmopen(text.get(), length, &cursor, &handle, &all.context, data[1] & 1u);
  const std::uint8_t* const end = text.get() + length;
  Require(cursor.position >= text.get() && cursor.position <= end);
  while (cursor.position < end) {
    CheckClasses(cursor, &all.context);
    const std::uint8_t* before = cursor.position;
    const std::size_t step = lxmfwdx(&cursor, &all.context);
    Require(cursor.position == before + (step == 0 ? 1 : step));
    Require(cursor.position <= end);
  }
  Require(lxmfwdx(&cursor, &all.context) == 0 && cursor.position == end);

  CheckWideForm(text.get(), length, data[1], handle, &all.context);
  CheckScan(text.get(), length, handle, &all.context);

  std::uint32_t charset = data[0] == 0 ? 0 : handle.charset_id;
  std::uint32_t status = 1;
  const std::size_t mark = lxBomDetect(text.get(), length, &charset, &status);
  Require(mark <= length && (status == 0 || status == 2000));
  return 0;
}

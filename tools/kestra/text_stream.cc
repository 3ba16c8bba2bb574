#include "text_stream.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "command.h"
#include "transliterate.h"

namespace kestra::tools {
namespace {

// Bytes of a character in any set, with the escape sequences in front of it.
constexpr std::size_t kLongestCharacter = 16;

}  // namespace

LineCounter::LineCounter(Session& session, const Charset& charset)
    : session_(session), charset_(charset), scratch_(1 << 14) {
  const Charset utf16 = session.LoadCharset(kAl16Utf16);
  counting_target_ =
      charset.id == kAl16Utf16 ? session.LoadCharset(kAl32Utf8).object : utf16.object;
  // How this set writes line feed, next line and A.
  constexpr std::uint8_t kProbe[3][2] = {{0x00, 0x0A}, {0x00, 0x85}, {0x00, 'A'}};
  std::uint8_t written[3][4] = {};
  std::size_t length[3] = {};
  bool replaced[3] = {};
  for (std::size_t i = 0; i < 3; ++i) {
    length[i] = lxgcnv(written[i], charset.object, sizeof written[i], kProbe[i], utf16.object,
                       sizeof kProbe[i], session.context());
    replaced[i] = session.context()->status.replacement != 0;
  }
  wide_ = length[0] == 2;
  newline_[0] = written[0][0];
  newline_[1] = wide_ ? written[0][1] : written[0][0];
  const bool ebcdic = length[2] == 1 && written[2][0] == 0xC1;
  if (ebcdic && length[1] == 1 && !replaced[1]) newline_[1] = written[1][0];
}

void LineCounter::Pass(std::span<const std::uint8_t> segment, std::uint64_t characters) {
  std::size_t after_last = 0;  // offset behind the last line end
  if (wide_) {
    for (std::size_t i = 0; i + 1 < segment.size(); i += 2) {
      if (segment[i] != newline_[0] || segment[i + 1] != newline_[1]) continue;
      ++line_;
      after_last = i + 2;
    }
  } else {
    const std::uint8_t first = newline_[0];
    const std::uint8_t second = newline_[1];
    const auto count = std::count_if(segment.begin(), segment.end(), [=](std::uint8_t byte) {
      return byte == first || byte == second;
    });
    if (count != 0) {
      line_ += static_cast<std::uint64_t>(count);
      after_last = segment.size();
      while (segment[after_last - 1] != first && segment[after_last - 1] != second) --after_last;
    }
  }
  if (after_last == 0) {
    column_ += characters;
  } else {
    column_ = 1 + CountCharacters(segment.subspan(after_last));
  }
}

std::uint64_t LineCounter::CountCharacters(std::span<const std::uint8_t> text) {
  std::uint64_t characters = 0;
  while (!text.empty()) {
    lxgcnv(scratch_.data(), counting_target_, scratch_.size(), text.data(), charset_.object,
           text.size(), session_.context());
    const lxstatus& status = session_.context()->status;
    if (status.consumed == 0) break;
    characters += status.characters_total;
    text = text.subspan(static_cast<std::size_t>(status.consumed));
  }
  return characters;
}

TextStream::TextStream(Session& session, const Charset& from, const Charset& to, Options options)
    : session_(session),
      from_(from),
      to_(to),
      options_(options),
      utf16_(session.LoadCharset(kAl16Utf16)),
      lines_(session, from) {}

std::size_t LineCounter::LineLength(std::span<const std::uint8_t> text) const {
  const auto end = std::find_if(text.begin(), text.end(), [&](std::uint8_t byte) {
    return byte == newline_[0] || byte == newline_[1];
  });
  return static_cast<std::size_t>(end - text.begin()) + (end == text.end() ? 0 : 1);
}

std::span<const std::uint8_t> TextStream::Portion(std::span<const std::uint8_t> rest) const {
  return from_.stateful ? rest.first(lines_.LineLength(rest)) : rest;
}

std::size_t TextStream::Call(Converter convert, std::span<std::uint8_t> out,
                             std::span<const std::uint8_t> in, std::uint32_t options) {
  lxcontext* context = session_.context();
  context->status.shift_in = state_in_;
  context->status.shift_out = state_out_;
  return convert(out.data(), to_.object, out.size(), in.data(), from_.object, in.size(),
                 options | KES_CONVERT_CONTINUE, context);
}

std::size_t TextStream::Convert(std::span<const std::uint8_t> block, bool more, ByteSink& sink) {
  lxcontext* context = session_.context();
  // The library writes references itself; where similar text comes first, each character is looked
  // at here.
  const bool references = options_.on_error == OnError::kXml && !options_.transliterate;
  const Converter convert = references ? lxgxmlco : lxgcnvb;
  std::size_t used = 0;
  while (used < block.size() && !stopped_) {
    const std::span<const std::uint8_t> rest = Portion(block.subspan(used));
    const std::span<std::uint8_t> room = sink.Room(kLongestCharacter);
    const std::size_t written = Call(convert, room, rest, KES_CONVERT_STOP | KES_CONVERT_MORE);
    if (context->error == KES_NLS_OBJECT_UNAVAILABLE) FailUnavailable();
    const bool full = context->error == KES_NLS_DESTINATION_FULL;
    const auto consumed = static_cast<std::size_t>(context->status.consumed);
    const std::uint64_t characters = context->status.characters_total;
    state_in_ = context->status.shift_in;
    state_out_ = context->status.shift_out;
    sink.Advance(written);
    lines_.Pass(rest.first(consumed), characters);
    characters_ += characters;
    offset_ += consumed;
    used += consumed;
    if (consumed == rest.size() || (full && consumed > 0)) continue;
    if (full) {  // there was room for any character
      throw ToolError(kBadData,
                      fmt::format("no progress at byte {} of {} text", offset_, from_.name));
    }
    const std::size_t step = Step(block.subspan(used), more, sink);
    used += step;
    if (step == 0) break;
  }
  if (!more) Finish(sink);
  return used;
}

// Converts one character that stopped the conversion: malformed, or without a place in the target,
// or cut off by the end of the block.
std::size_t TextStream::Step(std::span<const std::uint8_t> rest, bool more, ByteSink& sink) {
  lxcontext* context = session_.context();
  std::uint8_t out[kLongestCharacter];
  std::size_t written = 0;
  // Exactly the room of the replacement, so that no character behind it is converted along. Where
  // it needs an escape sequence in front of it is not known.
  for (std::size_t room = to_.stateful ? 1 : replacement_room_;
       written == 0 && room <= kLongestCharacter; ++room) {
    written = Call(lxgcnvb, std::span(out, room), rest, KES_CONVERT_MORE);
    if (written == 0 && context->error == KES_NLS_OK) break;  // cut off
  }
  auto consumed = static_cast<std::size_t>(context->status.consumed);
  const std::uint32_t state_in = context->status.shift_in;
  const std::uint32_t state_out = context->status.shift_out;
  if (written != 0) {
    const bool replaced = context->status.replacement != 0;
    const std::span<const std::uint8_t> bytes = rest.first(consumed);
    if (replaced) replacement_room_ = written;
    if (!replaced || Survives(bytes, std::span(out, written))) {
      state_out_ = state_out;
    } else if (WriteInstead(bytes, sink)) {
      written = 0;
    } else {
      Note(bytes, false);
      if (options_.on_error == OnError::kSkip) {
        written = 0;
      } else {
        state_out_ = state_out;
      }
    }
    state_in_ = state_in;
  } else {
    if (more) return 0;
    // The text ends within a character: what is left is replaced as one.
    constexpr std::uint8_t kReplacement[2] = {0xFF, 0xFD};
    consumed = rest.size();
    Note(rest, true);
    context->status.shift_in = 0;
    context->status.shift_out = state_out_;
    written = lxgcnvb(out, to_.object, sizeof out, kReplacement, utf16_.object, sizeof kReplacement,
                      KES_CONVERT_MORE | KES_CONVERT_CONTINUE, context);
    if (options_.on_error == OnError::kSkip) {
      written = 0;
    } else {
      state_out_ = context->status.shift_out;
    }
  }
  if (stopped_) return 0;
  std::copy_n(out, written, sink.Room(written).begin());
  sink.Advance(written);
  lines_.Pass(rest.first(consumed), 1);
  characters_ += 1;
  offset_ += consumed;
  return consumed;
}

bool TextStream::WriteInstead(std::span<const std::uint8_t> bytes, ByteSink& sink) {
  const bool xml = options_.on_error == OnError::kXml;
  if (!options_.transliterate && !xml) return false;
  const std::vector<std::uint32_t> code_points = Decode(bytes);
  if (code_points.size() != 1) return false;
  const auto write = [&](const std::string& text) {
    if (text.empty()) return false;
    lxcontext* context = session_.context();
    const std::span<std::uint8_t> room = sink.Room(4 * text.size() + kLongestCharacter);
    context->status.shift_in = 0;
    context->status.shift_out = state_out_;
    const std::size_t written = lxgcnvb(
        room.data(), to_.object, room.size(), reinterpret_cast<const std::uint8_t*>(text.data()),
        session_.LoadCharset(kUs7Ascii).object, text.size(),
        KES_CONVERT_STOP | KES_CONVERT_MORE | KES_CONVERT_CONTINUE, context);
    if (context->error != KES_NLS_OK || context->status.consumed != text.size()) return false;
    state_out_ = context->status.shift_out;
    sink.Advance(written);
    return true;
  };
  if (options_.transliterate && write(Transliterate(code_points[0]))) {
    ++transliterated_;
    return true;
  }
  return xml && write(fmt::format("&#x{:X};", code_points[0]));
}

// A target with states returns to its base state at the end of the text.
void TextStream::Finish(ByteSink& sink) {
  if (!to_.stateful) return;
  sink.Advance(Call(lxgcnvb, sink.Room(kLongestCharacter), {}, 0));
  state_out_ = session_.context()->status.shift_out;
}

bool TextStream::Survives(std::span<const std::uint8_t> bytes,
                          std::span<const std::uint8_t> written) {
  if (from_.stateful || to_.stateful) return false;
  std::uint8_t back[4 * kLongestCharacter];
  const std::size_t length = lxgcnv(back, from_.object, sizeof back, written.data(), to_.object,
                                    written.size(), session_.context());
  return std::equal(bytes.begin(), bytes.end(), back, back + length);
}

std::vector<std::uint32_t> TextStream::Decode(std::span<const std::uint8_t> bytes) {
  lxcontext* context = session_.context();
  std::uint8_t units[4 * kLongestCharacter];
  std::size_t length = 0;
  if (from_.id == kAl16Utf16) {
    // Big-endian units are what we decode to; well-formed when they survive the way to UTF-8.
    std::uint8_t utf8[4 * kLongestCharacter];
    const Charset target = session_.LoadCharset(kAl32Utf8);
    lxgcnvb(utf8, target.object, sizeof utf8, bytes.data(), from_.object, bytes.size(),
            KES_CONVERT_STOP, context);
    if (context->status.consumed != bytes.size() || bytes.size() > sizeof units) return {};
    length = bytes.size();
    std::copy(bytes.begin(), bytes.end(), units);
  } else {
    context->status.shift_in = state_in_;
    context->status.shift_out = 0;
    length = lxgcnvb(units, utf16_.object, sizeof units, bytes.data(), from_.object, bytes.size(),
                     KES_CONVERT_STOP | KES_CONVERT_CONTINUE, context);
    if (context->status.consumed != bytes.size()) return {};
  }
  std::vector<std::uint32_t> code_points;
  for (std::size_t i = 0; i + 1 < length; i += 2) {
    std::uint32_t unit = static_cast<std::uint32_t>(units[i] << 8 | units[i + 1]);
    if (unit >= 0xDC00 && unit < 0xE000 && !code_points.empty() && code_points.back() >= 0xD800 &&
        code_points.back() < 0xDC00) {
      unit = 0x10000 + ((code_points.back() - 0xD800) << 10) + (unit - 0xDC00);
      code_points.pop_back();
    }
    code_points.push_back(unit);
  }
  return code_points;
}

void TextStream::Note(std::span<const std::uint8_t> bytes, bool cut) {
  ++trouble_count_;
  stopped_ = options_.on_error == OnError::kStop;
  if (troubles_.size() >= options_.keep) return;
  Trouble trouble;
  trouble.offset = offset_;
  trouble.line = lines_.line();
  trouble.column = lines_.column();
  trouble.code_points = Decode(bytes);
  trouble.malformed = trouble.code_points.empty();
  trouble.cut = cut;
  trouble.bytes.assign(bytes.begin(), bytes.end());
  troubles_.push_back(std::move(trouble));
}

void TextStream::FailUnavailable() {
  throw ToolError(kBadData, fmt::format("{} cannot be converted to {}: {} (error {})", from_.name,
                                        to_.name, ErrorText(KES_NLS_OBJECT_UNAVAILABLE),
                                        static_cast<int>(KES_NLS_OBJECT_UNAVAILABLE)));
}

std::string CodePointNames(const std::vector<std::uint32_t>& code_points) {
  std::string text;
  for (const std::uint32_t code_point : code_points) {
    text += fmt::format("{}U+{:04X}", text.empty() ? "" : " ", code_point);
  }
  return text;
}

}  // namespace kestra::tools

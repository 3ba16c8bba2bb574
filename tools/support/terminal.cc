#include "support/terminal.h"

#include <locale.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <wchar.h>

#include <algorithm>
#include <cstdlib>

namespace kestra::tools {
namespace {

// The C library's character widths, in UTF-8 whatever the user's locale is.
locale_t Utf8Locale() {
  static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  return locale;
}

class ScopedUtf8 {
 public:
  ScopedUtf8() : previous_(Utf8Locale() != nullptr ? uselocale(Utf8Locale()) : nullptr) {}
  ~ScopedUtf8() {
    if (previous_ != nullptr) uselocale(previous_);
  }
  ScopedUtf8(const ScopedUtf8&) = delete;
  ScopedUtf8& operator=(const ScopedUtf8&) = delete;

 private:
  locale_t previous_;
};

struct Decoded {
  std::size_t length = 1;
  int width = -1;  // -1: not printable or malformed
};

// Requires a ScopedUtf8 and a text that is not empty.
Decoded Decode(std::string_view text) {
  wchar_t wide = 0;
  mbstate_t state{};
  const std::size_t length =
      mbrtowc(&wide, text.data(), std::min<std::size_t>(text.size(), 4), &state);
  if (length == 0 || length > 4) return {};
  return {length, wcwidth(wide)};
}

const char* Code(Style style) {
  switch (style) {
    case Style::kBold:
      return "\x1b[1m";
    case Style::kDim:
      return "\x1b[2m";
    case Style::kRed:
      return "\x1b[31m";
    case Style::kYellow:
      return "\x1b[33m";
    case Style::kGreen:
      return "\x1b[32m";
  }
  return "";
}

constexpr char kHex[] = "0123456789ABCDEF";

}  // namespace

bool IsTerminal(int fd) { return isatty(fd) == 1; }

bool UseColour(int fd) {
  if (std::getenv("NO_COLOR") != nullptr) return false;
  const char* term = std::getenv("TERM");
  return IsTerminal(fd) && term != nullptr && std::string_view(term) != "dumb";
}

std::size_t TerminalWidth(int fd) {
  winsize size{};
  if (ioctl(fd, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  return 80;
}

std::size_t DisplayWidth(std::string_view utf8) {
  const ScopedUtf8 scope;
  std::size_t width = 0;
  while (!utf8.empty()) {
    const Decoded c = Decode(utf8);
    width += c.width < 0 ? 1 : static_cast<std::size_t>(c.width);
    utf8.remove_prefix(c.length);
  }
  return width;
}

std::string Printable(std::string_view utf8) {
  const ScopedUtf8 scope;
  std::string out;
  while (!utf8.empty()) {
    const Decoded c = Decode(utf8);
    if (c.width >= 0) {
      out.append(utf8.substr(0, c.length));
    } else {
      for (const char byte : utf8.substr(0, c.length)) {
        const auto value = static_cast<unsigned char>(byte);
        out += "\\x";
        out += kHex[value >> 4];
        out += kHex[value & 15];
      }
    }
    utf8.remove_prefix(c.length);
  }
  return out;
}

std::string PrintableMessage(std::string_view utf8) {
  constexpr std::size_t kPart = 300;
  if (utf8.size() <= 2 * kPart) return Printable(utf8);
  std::size_t begin = kPart, end = utf8.size() - kPart;
  while (begin > kPart - 4 && IsInsideCharacter(utf8, begin)) --begin;
  while (end < utf8.size() - kPart + 4 && IsInsideCharacter(utf8, end)) ++end;
  return Printable(utf8.substr(0, begin)) + " ... " + Printable(utf8.substr(end));
}

std::string HexBytes(std::span<const std::uint8_t> bytes) {
  std::string out;
  for (const std::uint8_t byte : bytes) {
    if (!out.empty()) out += ' ';
    out += kHex[byte >> 4];
    out += kHex[byte & 15];
  }
  return out;
}

std::string Styled(int fd, Style style, std::string_view text) {
  if (!UseColour(fd)) return std::string(text);
  return std::string(Code(style)).append(text).append("\x1b[0m");
}

}  // namespace kestra::tools

#include "tests/support/convert_reference.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "kestra/convert.h"

namespace kestra::test::ref {
namespace {

std::string BitsToBytes(std::uint32_t value, int trail_bits, int trails, int lead_mark,
                        int trail_mark) {
  std::string bytes;
  for (int i = 0; i < trails; ++i) {
    bytes.insert(bytes.begin(),
                 static_cast<char>(trail_mark | static_cast<int>(value % (1u << trail_bits))));
    value >>= trail_bits;
  }
  bytes.insert(bytes.begin(), static_cast<char>(lead_mark | static_cast<int>(value)));
  return bytes;
}

std::string Utf8(std::uint32_t value) {
  if (value < 0x80) return std::string(1, static_cast<char>(value));
  if (value < 0x800) return BitsToBytes(value, 6, 1, 0xC0, 0x80);
  if (value < 0x10000) return BitsToBytes(value, 6, 2, 0xE0, 0x80);
  return BitsToBytes(value, 6, 3, 0xF0, 0x80);
}

// Printed in Unicode Technical Report 16, the conversion of the first 160 bytes.
constexpr const char* kReportTable =
    "00010203372D2E2F1605150B0C0D0E0F101112133C3D322618193F271C1D1E1F"
    "405A7F7B5B6C507D4D5D5C4E6B604B61F0F1F2F3F4F5F6F7F8F97A5E4C7E6E6F"
    "7CC1C2C3C4C5C6C7C8C9D1D2D3D4D5D6D7D8D9E2E3E4E5E6E7E8E9ADE0BD5F6D"
    "79818283848586878889919293949596979899A2A3A4A5A6A7A8A9C04FD0A107"
    "202122232425061728292A2B2C090A1B30311A333435360838393A3B04143EFF";

std::string UtfEbcdicUnit(std::uint32_t unit) {
  // The free bytes are those that the first 160 entries do not name, in ascending order.
  static const std::string table = [] {
    std::string bytes;
    std::set<int> used;
    for (int i = 0; i < 160; ++i) {
      const int byte = std::stoi(std::string(kReportTable + 2 * i, 2), nullptr, 16);
      bytes += static_cast<char>(byte);
      used.insert(byte);
    }
    for (int byte = 0; byte < 256; ++byte) {
      if (used.count(byte) == 0) bytes += static_cast<char>(byte);
    }
    return bytes;
  }();
  std::string bytes;
  if (unit < 0xA0) {
    bytes = std::string(1, static_cast<char>(unit));
  } else if (unit < 0x400) {
    bytes = BitsToBytes(unit, 5, 1, 0xC0, 0xA0);
  } else if (unit < 0x4000) {
    bytes = BitsToBytes(unit, 5, 2, 0xE0, 0xA0);
  } else {
    bytes = BitsToBytes(unit, 5, 3, 0xF0, 0xA0);
  }
  for (char& byte : bytes) byte = table[static_cast<std::uint8_t>(byte)];
  return bytes;
}

bool IsSurrogate(std::uint32_t unit) { return unit >= 0xD800 && unit <= 0xDFFF; }

std::vector<std::uint32_t> UnitsOf(std::uint32_t code_point) {
  if (code_point < 0x10000) return {code_point};
  return {0xD800 + (code_point - 0x10000) / 0x400, 0xDC00 + (code_point - 0x10000) % 0x400};
}

// All sequences of a form, by their bytes, and all beginnings of one.
struct Sequences {
  std::map<std::string, std::uint32_t> whole;
  std::set<std::string> beginnings;
  void Add(const std::string& bytes, std::uint32_t value) {
    whole.emplace(bytes, value);
    for (std::size_t n = 1; n < bytes.size(); ++n) beginnings.insert(bytes.substr(0, n));
  }
  Unit Read(const std::string& text, std::size_t at) const {
    std::size_t n = 1;
    for (;; ++n) {
      const std::string part = text.substr(at, n);
      const auto it = whole.find(part);
      if (it != whole.end()) return {it->second, n, false};
      if (beginnings.count(part) == 0) break;
      if (at + n == text.size()) return {std::nullopt, n, true};
    }
    return {std::nullopt, n > 1 ? n - 1 : 1, false};
  }
};

// A form over units: reads two and joins them.
Set OverUnits(std::shared_ptr<const Sequences> units,
              std::string (*write_unit)(std::uint32_t unit)) {
  // What a low surrogate may be cut down to.
  auto lows = std::make_shared<std::set<std::string>>();
  for (std::uint32_t low = 0xDC00; low < 0xE000; ++low) {
    const std::string bytes = write_unit(low);
    for (std::size_t n = 0; n < bytes.size(); ++n) lows->insert(bytes.substr(0, n));
  }
  Set set;
  set.read = [units, lows](const std::string& text, std::size_t at) -> Unit {
    const Unit first = units->Read(text, at);
    if (!first.code_point || !IsSurrogate(*first.code_point)) return first;
    const Unit lone{std::nullopt, first.length, false};
    if (*first.code_point >= 0xDC00) return lone;
    const std::string rest = text.substr(at + first.length);
    // Low surrogates differ in their last bytes only: try every length of what follows.
    for (std::size_t n = 1; n <= rest.size() && n <= 4; ++n) {
      const auto it = units->whole.find(rest.substr(0, n));
      if (it == units->whole.end() || it->second < 0xDC00 || it->second > 0xDFFF) continue;
      return {0x10000 + (*first.code_point - 0xD800) * 0x400 + (it->second - 0xDC00),
              first.length + n, false};
    }
    if (lows->count(rest) != 0) return {std::nullopt, first.length, true};
    return lone;
  };
  set.write = [write_unit](std::uint32_t code_point) {
    std::string bytes;
    for (const std::uint32_t unit : UnitsOf(code_point)) bytes += write_unit(unit);
    return bytes;
  };
  set.replacement = write_unit(0xFFFD);
  return set;
}

std::string BigEndian(std::uint32_t unit) {
  return {static_cast<char>(unit / 256), static_cast<char>(unit % 256)};
}
std::string LittleEndian(std::uint32_t unit) {
  return {static_cast<char>(unit % 256), static_cast<char>(unit / 256)};
}

}  // namespace

Map::Map(const std::string& path) {
  std::ifstream file(KESTRA_SOURCE_DIR "/" + path);
  if (!file) throw std::runtime_error("no map " + path);
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    const bool decode_only = line[0] == '!';
    std::istringstream fields(line.substr(decode_only ? 1 : 0));
    std::string digits;
    std::uint32_t code;
    fields >> digits >> std::hex >> code;
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
      bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    decode.emplace(bytes, code);
    if (!decode_only) encode.emplace(code, bytes);
  }
}

Set TableSet(const Map& map, const std::string& replacement) {
  std::map<char, std::size_t> lengths;
  Set set;
  for (const auto& [bytes, code] : map.decode) {
    lengths[bytes[0]] = bytes.size();
    set.characters.push_back(code);
  }
  set.read = [map, lengths](const std::string& text, std::size_t at) -> Unit {
    const auto length = lengths.find(text[at]);
    if (length == lengths.end()) return {std::nullopt, 1, false};
    if (text.size() - at < length->second) return {std::nullopt, text.size() - at, true};
    const std::string bytes = text.substr(at, length->second);
    const auto it = map.decode.find(bytes);
    if (it != map.decode.end()) return {it->second, bytes.size(), false};
    std::size_t n = 1;
    while (n < bytes.size() && (bytes[n] & 0x80) != 0) ++n;
    return {std::nullopt, n, false};
  };
  set.write = [map](std::uint32_t code_point) {
    const auto it = map.encode.find(code_point);
    return it == map.encode.end() ? std::string() : it->second;
  };
  set.replacement = replacement;
  return set;
}

Set UnicodeSet(std::uint16_t id) {
  auto sequences = std::make_shared<Sequences>();
  if (id == 873) {
    for (std::uint32_t cp = 0; cp < 0x110000; ++cp) {
      if (!IsSurrogate(cp)) sequences->Add(Utf8(cp), cp);
    }
    Set set;
    set.read = [sequences](const std::string& text, std::size_t at) {
      return sequences->Read(text, at);
    };
    set.write = Utf8;
    set.replacement = Utf8(0xFFFD);
    return set;
  }
  std::string (*write)(std::uint32_t) = id == 871    ? Utf8
                                        : id == 872  ? UtfEbcdicUnit
                                        : id == 2002 ? LittleEndian
                                                     : BigEndian;
  for (std::uint32_t unit = 0; unit < 0x10000; ++unit) sequences->Add(write(unit), unit);
  Set set = OverUnits(sequences, write);
  set.two_byte_units = id >= 1000;
  return set;
}

Result Convert(const Set& to, const Set& from, const std::string& text, std::size_t room,
               std::uint32_t options) {
  Result result;
  result.status.first_replaced = UINT64_MAX;
  std::string source = text;
  if (from.two_byte_units && source.size() % 2 != 0) source.pop_back();
  std::size_t at = 0;
  if (room == 0) {
    result.error = text.empty() ? 0 : 6;
    return result;
  }
  while (at < source.size()) {
    const Unit unit = from.read(source, at);
    if (unit.truncated && (options & KES_CONVERT_MORE) != 0) break;
    std::string bytes = unit.code_point ? to.write(*unit.code_point) : std::string();
    const bool replaced = bytes.empty();
    if (replaced) {
      if ((options & KES_CONVERT_STOP) != 0) {
        if (result.status.first_replaced == UINT64_MAX) result.status.first_replaced = at;
        break;
      }
      bytes = to.replacement;
    }
    if (result.bytes.size() + bytes.size() > room) {
      result.error = 6;
      break;
    }
    result.bytes += bytes;
    if (replaced && result.status.first_replaced == UINT64_MAX) result.status.first_replaced = at;
    if (replaced || unit.code_point == 0xFFFDu) result.status.replacement = 1000;
    at += unit.length;
    ++result.status.characters_total;
  }
  result.status.consumed = at;
  result.status.characters = static_cast<std::uint16_t>(result.status.characters_total);
  return result;
}

}  // namespace kestra::test::ref

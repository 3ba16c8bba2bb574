#include "charset.h"
#include "nls/nlb_format.h"

namespace kestra::nlsc {
namespace {

namespace nlb = kestra::nls::nlb;
namespace layout = kestra::nls::nlb::charset;
constexpr std::uint32_t kType = 2;

template <typename Values>
void AppendAll(ByteBuffer& out, const Values& values, std::size_t width) {
  for (const auto value : values) out.Append(value, width);
}

ByteBuffer WriteFixedPart(const CharsetModel& model, bool big_endian) {
  ByteBuffer out(big_endian, layout::kBase);
  out.Put16(layout::kIdAt, model.definition.id);
  out.Put16(layout::kBasisAt, model.definition.basis);
  out.Put32(layout::kFlagsAt, model.flags);
  out.Put32(layout::kHandleFlagsAt, model.handle_flags);
  out.Put8(layout::kMaxBytesAt, model.definition.max_bytes);
  out.Put8(layout::kMinBytesAt, model.min_bytes);
  out.Put8(layout::kShiftedWidthAt, model.shifted_width);
  out.Put8(layout::kShiftInAt, model.shift_in);
  out.Put8(layout::kShiftOutAt, model.shift_out);
  out.Put8(layout::kClassByteAt, model.class_byte);
  out.Put8(layout::kReplacementLengthAt, static_cast<std::uint32_t>(model.replacement.size()));
  for (std::size_t i = 0; i < model.replacement.size(); ++i) {
    out.Put8(layout::kReplacementAt + i, model.replacement[i]);
  }
  out.Put8(layout::kWidthsAt, model.decode_width | static_cast<std::uint32_t>(model.encode_width)
                                                       << 4);
  out.Put8(layout::kTraitsAt, model.traits);
  out.Put8(layout::kClassKindAt, model.class_kind);
  out.Put32(layout::kDecodeCellsAt, static_cast<std::uint32_t>(model.decode.size()));
  out.Put32(layout::kRowsAt, static_cast<std::uint32_t>(model.rows.size()));
  out.Put32(layout::kEncodeBlocksAt,
            static_cast<std::uint32_t>(model.encode.size() / layout::kBlockSize));
  out.Put32(layout::kEncodeIndexAt, static_cast<std::uint32_t>(model.encode_index.size()));
  out.Put32(layout::kMappingsAt, model.definition.mappings);
  for (std::size_t byte = 0; byte < 256; ++byte) {
    out.Put16(layout::kClassTableAt + 2 * byte, model.classes[byte]);
    out.Put8(layout::kUpperAt + byte, model.upper[byte]);
    out.Put8(layout::kLowerAt + byte, model.lower[byte]);
    out.Put16(layout::kSingleAt + 2 * byte, model.single[byte]);
  }
  return out;
}

void WriteTable(const CharsetModel& model, std::size_t table, ByteBuffer& out) {
  switch (table) {
    case layout::kUtf8Table:
      return AppendAll(out, model.utf8, 1);
    case layout::kLeadTable:
      return AppendAll(out, model.lead, 2);
    case layout::kRowTable:
      for (const CharsetRow& row : model.rows) {
        out.Append(row.first, 1);
        out.Append(row.last, 1);
        out.Append(0, 2);
        out.Append(row.cell, 4);
      }
      return;
    case layout::kDecodeTable:
      return AppendAll(out, model.decode, model.decode_width);
    case layout::kClassTable:
      AppendAll(out, model.class_index, 2);
      return AppendAll(out, model.class_cells, 1);
    case layout::kClassWordTable:
      return AppendAll(out, model.class_words, 2);
    case layout::kEncodeIndex:
      return AppendAll(out, model.encode_index, 2);
    case layout::kEncodeTable:
      return AppendAll(out, model.encode, model.encode_width);
    case layout::kLinearTable:
      return AppendAll(out, model.linear, 2);
    default:
      return;
  }
}

}  // namespace

Object WriteCharset(const CharsetModel& model, const std::string& sources, bool big_endian) {
  ByteBuffer fixed = WriteFixedPart(model, big_endian);
  ByteBuffer tables(big_endian);
  for (std::size_t table = 0; table < layout::kOffsetCount; ++table) {
    fixed.Put32(layout::kOffsetsAt + 4 * table, static_cast<std::uint32_t>(tables.size()));
    WriteTable(model, table, tables);
    tables.Pad(4);
  }
  fixed.Put32(layout::kEndOffsetAt, static_cast<std::uint32_t>(tables.size()));
  return FinishObject({kType, model.definition.id, model.definition.name, sources},
                      std::move(fixed), tables);
}

}  // namespace kestra::nlsc

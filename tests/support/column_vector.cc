#include "tests/support/column_vector.h"

#include <cstdlib>

namespace kestra::test {

TestVector::TestVector(const ref::Column& column, bool known) {
  const auto precision = static_cast<std::uint32_t>(ldsbget_prec(column.width));
  const auto scale = static_cast<std::int32_t>(column.scale);
  if (column.scalar) {
    std::uint8_t value[24];
    column.values[0]->ToBytes(value, column.width);
    ldsbvinit_sint(nullptr, &vector, precision, scale, value, column.width);
    return;
  }
  const std::size_t count = column.values.size();
  const std::size_t area = (count * column.width + 63) / 64 * 64;
  buffer_.reset(static_cast<std::uint8_t*>(std::aligned_alloc(64, area == 0 ? 64 : area)));
  std::memset(buffer_.get(), 0xA5, area);
  nulls_.assign((count + 7) / 8, 0);
  bool any_null = false;
  std::optional<ref::Wide> min, max;
  for (std::size_t i = 0; i < count; ++i) {
    const auto& value = column.values[i];
    if (!value) {
      any_null = true;
      nulls_[i / 8] = static_cast<std::uint8_t>(nulls_[i / 8] | 1 << i % 8);
      continue;
    }
    value->ToBytes(buffer_.get() + i * column.width, column.width);
    if (!min || *value < *min) min = value;
    if (!max || *max < *value) max = value;
  }
  ldsbvinitx(nullptr, &vector, precision, scale, count, buffer_.get(), area, nullptr, nullptr);
  if (any_null) vector.nulls = nulls_.data();
  if (!known) return;
  vector.extremes = {};
  if (!min) return;
  min->ToBytes(vector.extremes.min.word, 24);
  max->ToBytes(vector.extremes.max.word, 24);
  vector.extremes.state = KES_DSB_EXTREMES_KNOWN;
}

ref::Column TestVector::Read(const ldsbvector& vector) {
  ref::Column column;
  column.scale = vector.scale;
  column.width = vector.width;
  column.scalar = vector.tag == KES_DSB_SCALAR;
  for (std::size_t i = 0; i < vector.count; ++i) {
    if (column.scalar) {
      column.values.emplace_back(ref::Wide::FromBytes(vector.extremes.min.word, 24));
    } else if (vector.nulls != nullptr && (vector.nulls[i / 8] >> i % 8 & 1) != 0) {
      column.values.emplace_back();
    } else {
      column.values.emplace_back(
          ref::Wide::FromBytes(vector.data + i * vector.width, vector.width));
    }
  }
  return column;
}

bool Same(const ref::Column& x, const ref::Column& y) {
  return x.scale == y.scale && x.width == y.width && x.scalar == y.scalar && x.values == y.values;
}

}  // namespace kestra::test

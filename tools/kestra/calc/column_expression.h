// Expressions over whole columns of decimals, computed on decimal vectors block by block.
//
//   items       item { , item }
//   item        total ( expression ) | expression      total: sum, min, max, count
//   expression  term { (+ | -) term }
//   term        factor { * factor }
//   factor      number | column | "column" | ( expression ) | - factor
//
// Every result is exact: there is no division, and what would need rounding is refused.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "calc/calc_engine.h"
#include "kestra/decimal_vector.h"

namespace kestra::tools {

// A vector with what it owns.
class DecimalColumn {
 public:
  DecimalColumn() { ldsbvinit(nullptr, &vector, nullptr, 0); }
  ~DecimalColumn() { ldsbvfree(nullptr, &vector); }
  DecimalColumn(const DecimalColumn&) = delete;
  DecimalColumn& operator=(const DecimalColumn&) = delete;

  ldsbvector vector;
};

struct ColumnNode {
  enum class Kind { kColumn, kConstant, kOperation };
  Kind kind = Kind::kColumn;
  std::size_t column = 0;       // kColumn: which one
  std::uint32_t operation = 0;  // kOperation: of ldsbvop
  std::unique_ptr<ColumnNode> left, right;
  DecimalColumn value;  // kConstant: it; kOperation: the result for a block, in memory used again
};

enum class ColumnTotal { kNone, kSum, kMin, kMax, kCount };

struct ColumnItem {
  std::string text;  // as it was written
  ColumnTotal total = ColumnTotal::kNone;
  std::unique_ptr<ColumnNode> root;
};

// Reads items. column_of: the number of a column by its name, or -1. Throws CalcError.
std::vector<ColumnItem> ParseColumnItems(std::string_view text,
                                         const std::function<int(std::string_view)>& column_of);

// The value of a node for a block of columns: a status of decimal_vector.h, and the vector.
int EvaluateColumn(ColumnNode& node, const std::vector<std::unique_ptr<DecimalColumn>>& columns,
                   const ldsbvector** value);

// A total over blocks.
class TotalSoFar {
 public:
  explicit TotalSoFar(ColumnTotal kind) : kind_(kind) {}
  // A status of decimal_vector.h; the total is as before when it is not 0.
  int Add(const ldsbvector& block);
  bool any() const { return any_ || kind_ == ColumnTotal::kSum || kind_ == ColumnTotal::kCount; }
  Number value() const;

 private:
  ColumnTotal kind_;
  bool any_ = false;
  unsigned long long count_ = 0;
  DecimalColumn sum_;
  Number extreme_;
};

}  // namespace kestra::tools

#include "calc/column_expression.h"

#include <cctype>

namespace kestra::tools {
namespace {

constexpr int kDeepest = 200;  // parentheses and signs within one another

bool IsNameByte(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}

class Parser {
 public:
  Parser(std::string_view text, const std::function<int(std::string_view)>& column_of)
      : text_(text), column_of_(column_of) {}

  std::vector<ColumnItem> Items() {
    std::vector<ColumnItem> items;
    do {
      items.push_back(Item());
    } while (Take(','));
    if (at_ != text_.size()) Fail("an operator was expected");
    return items;
  }

 private:
  using Node = std::unique_ptr<ColumnNode>;

  [[noreturn]] void Fail(const std::string& message) const { throw CalcError(at_, message); }

  char Peek() {
    while (at_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[at_])) != 0) ++at_;
    return at_ < text_.size() ? text_[at_] : '\0';
  }
  bool Take(char c) {
    if (Peek() != c) return false;
    ++at_;
    return true;
  }
  std::string_view Word() {
    Peek();
    const std::size_t begin = at_;
    while (at_ < text_.size() && IsNameByte(text_[at_])) ++at_;
    return text_.substr(begin, at_ - begin);
  }

  ColumnItem Item() {
    Peek();
    const std::size_t begin = at_;
    ColumnItem item;
    columns_ = 0;
    const std::string_view word = Word();
    constexpr std::string_view kTotals[] = {"", "sum", "min", "max", "count"};
    for (std::size_t i = 1; i < std::size(kTotals); ++i) {
      if (word == kTotals[i] && Peek() == '(') item.total = static_cast<ColumnTotal>(i);
    }
    if (item.total == ColumnTotal::kNone) {
      at_ = begin;
      item.root = Expression();
    } else {
      Take('(');
      item.root = Expression();
      if (!Take(')')) Fail("')' was expected");
    }
    if (columns_ == 0) {
      at_ = begin;
      Fail("no column is named here");
    }
    Peek();
    item.text = text_.substr(begin, at_ - begin);
    while (std::isspace(static_cast<unsigned char>(item.text.back())) != 0) item.text.pop_back();
    return item;
  }

  Node Combine(std::uint32_t operation, Node left, Node right) {
    auto node = std::make_unique<ColumnNode>();
    node->kind = ColumnNode::Kind::kOperation;
    node->operation = operation;
    node->left = std::move(left);
    node->right = std::move(right);
    return node;
  }

  Node Expression() {
    Node node = Term();
    for (;;) {
      if (Take('+')) {
        node = Combine(KES_DSB_ADD, std::move(node), Term());
      } else if (Take('-')) {
        node = Combine(KES_DSB_SUBTRACT, std::move(node), Term());
      } else {
        return node;
      }
    }
  }

  Node Term() {
    Node node = Factor();
    while (Take('*')) node = Combine(KES_DSB_MULTIPLY, std::move(node), Factor());
    if (Peek() == '/' || Peek() == '%' || Peek() == '^') {
      Fail("columns know + - * alone, which are exact");
    }
    return node;
  }

  Node Factor() {
    if (++depth_ > kDeepest) Fail("too deeply nested");
    Node node;
    if (Take('-')) {
      node = Combine(KES_DSB_SUBTRACT, Constant(Number()), Factor());
    } else if (Take('(')) {
      node = Expression();
      if (!Take(')')) Fail("')' was expected");
    } else if (Peek() == '"') {
      const std::size_t end = text_.find('"', at_ + 1);
      if (end == std::string_view::npos) Fail("a quote is never closed");
      node = Column(text_.substr(at_ + 1, end - at_ - 1), at_);
      at_ = end + 1;
    } else if (std::isdigit(static_cast<unsigned char>(Peek())) != 0 || Peek() == '.') {
      node = Constant(Literal());
    } else {
      const std::size_t begin = (Peek(), at_);
      const std::string_view name = Word();
      if (name.empty())
        Fail(at_ == text_.size() ? "the expression ends too early"
                                 : "a column or a number was expected");
      if (Peek() == '(') {
        at_ = begin;
        Fail("a total cannot be part of an expression");
      }
      node = Column(name, begin);
    }
    --depth_;
    return node;
  }

  Number Literal() {
    const std::size_t begin = at_;
    while (at_ < text_.size() &&
           (std::isdigit(static_cast<unsigned char>(text_[at_])) != 0 || text_[at_] == '.')) {
      ++at_;
    }
    const std::optional<Number> value = Number::ParseExact(text_.substr(begin, at_ - begin));
    if (value) return *value;
    at_ = begin;
    Fail("not a number of at most 40 digits");
  }

  Node Constant(const Number& value) {
    auto node = std::make_unique<ColumnNode>();
    node->kind = ColumnNode::Kind::kConstant;
    ldsbvinit_son(nullptr, &node->value.vector, KES_DSB_NARROWEST, KES_DSB_NO_SCALE, value.data(),
                  value.size());
    return node;
  }

  Node Column(std::string_view name, std::size_t offset) {
    const int column = column_of_(name);
    if (column < 0) throw CalcError(offset, "there is no column '" + std::string(name) + "'");
    ++columns_;
    auto node = std::make_unique<ColumnNode>();
    node->column = static_cast<std::size_t>(column);
    return node;
  }

  std::string_view text_;
  const std::function<int(std::string_view)>& column_of_;
  std::size_t at_ = 0;
  int depth_ = 0;
  int columns_ = 0;
};

Number NumberOf(const ldsbvector& scalar) {
  return Number::Make([&](std::uint8_t* out, std::size_t* length) {
    std::uint8_t slot[KES_NUMBER_PREFIXED_BYTES];
    ldsbvget_ons(nullptr, &scalar, 0, 1, slot, sizeof slot, nullptr);
    lnxcopy(slot, 0, out, length);
  });
}

}  // namespace

std::vector<ColumnItem> ParseColumnItems(std::string_view text,
                                         const std::function<int(std::string_view)>& column_of) {
  return Parser(text, column_of).Items();
}

int EvaluateColumn(ColumnNode& node, const std::vector<std::unique_ptr<DecimalColumn>>& columns,
                   const ldsbvector** value) {
  *value =
      node.kind == ColumnNode::Kind::kColumn ? &columns[node.column]->vector : &node.value.vector;
  if (node.kind != ColumnNode::Kind::kOperation) return KES_DSB_OK;
  const ldsbvector* left = nullptr;
  const ldsbvector* right = nullptr;
  int status = EvaluateColumn(*node.left, columns, &left);
  if (status == KES_DSB_OK) status = EvaluateColumn(*node.right, columns, &right);
  if (status != KES_DSB_OK) return status;
  return ldsbvop(nullptr, node.operation, &node.value.vector, left, right, nullptr);
}

int TotalSoFar::Add(const ldsbvector& block) {
  if (block.extremes.state == KES_DSB_EXTREMES_NONE) return KES_DSB_OK;  // nulls alone
  if (kind_ == ColumnTotal::kCount) {
    for (std::size_t i = 0; i < block.count; ++i) {
      count_ += block.nulls == nullptr || (block.nulls[i / 8] >> i % 8 & 1) == 0 ? 1 : 0;
    }
  } else if (kind_ == ColumnTotal::kSum) {
    DecimalColumn sum, together;
    int status = ldsbvsum(nullptr, &sum.vector, &block);
    if (status != KES_DSB_OK) return status;
    if (any_) {
      status = ldsbvop(nullptr, KES_DSB_ADD, &together.vector, &sum_.vector, &sum.vector, nullptr);
      if (status != KES_DSB_OK) return status;
    }
    // Scalars own no memory.
    sum_.vector = any_ ? together.vector : sum.vector;
  } else {
    ldsbvector scalar;
    const bool min = kind_ == ColumnTotal::kMin;
    const ldsbint& found = min ? block.extremes.min : block.extremes.max;
    ldsbvinit_sint(nullptr, &scalar, KES_DSB_INT192, block.scale, found.word, sizeof found.word);
    const Number extreme = NumberOf(scalar);
    if (!any_ || (min ? extreme < extreme_ : extreme_ < extreme)) extreme_ = extreme;
  }
  any_ = true;
  return KES_DSB_OK;
}

Number TotalSoFar::value() const {
  if (kind_ == ColumnTotal::kCount) return *Number::Parse(std::to_string(count_));
  if (kind_ != ColumnTotal::kSum) return extreme_;
  return any_ ? NumberOf(sum_.vector) : Number();
}

}  // namespace kestra::tools

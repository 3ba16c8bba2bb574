#include "date_explain.h"

#include <fmt/format.h>

#include "command.h"
#include "names.h"
#include "support/table.h"
#include "support/terminal.h"

namespace kestra::tools {
namespace {

// What a suffix of the element adds to its meaning.
std::string Meaning(const ModelPiece& piece) {
  std::string meaning = ElementMeaning(piece.code);
  const std::string& compiled = piece.model.compiled;
  if (piece.code < KES_DATETIME_HH25 && compiled.size() == 2) {
    constexpr const char* kSuffixes[] = {"", ", ordinal", ", in words", ", ordinal in words"};
    meaning += kSuffixes[compiled[1] & 3];
  }
  return meaning;
}

// What an element writes; a fault of it lies where it begins in the model.
std::string WritePiece(DateTool& tool, const LdiDate& value, const ModelPiece& piece,
                       std::size_t begin) {
  try {
    return tool.Write(value, piece.model);
  } catch (const DateFault& fault) {
    throw DateFault(fault.number(), begin);
  }
}

// That elements exclude each other; it is no fault to be for writing only.
void CheckTogether(DateTool& tool, const std::string& model) {
  try {
    tool.Compile(model);
  } catch (const DateFault& fault) {
    if (fault.number() != kOnlyWritten) throw;
  }
}

}  // namespace

int ExplainModel(DateTool& tool, const std::string& model, const LdiDate& value, bool json) {
  nlohmann::ordered_json answer = {{"model", model}};
  Table table({{"MODEL"}, {"MEANS"}, {"WRITES"}, {"READS"}});
  std::string problem;
  std::size_t at = 0;
  try {
    ldxscan state = {};
    state.repeat = 1;
    ModelPiece piece;
    while (at < model.size() && tool.NextPiece(model, at, state, piece)) {
      const std::string text = WritePiece(tool, value, piece, at - piece.text.size());
      const bool reads = tool.IsReadable(piece.text);
      table.Add({Printable(piece.text), Meaning(piece), Printable("'" + text + "'"),
                 reads ? "yes" : "no"});
      answer["elements"].push_back(
          {{"model", piece.text}, {"means", Meaning(piece)}, {"writes", text}, {"reads", reads}});
    }
    answer["writes"] = tool.Write(value, tool.CompileForOutput(model));
    CheckTogether(tool, model);
  } catch (const DateFault& fault) {
    problem = fmt::format("{}\n{}", fault.what(), WithCaret(model, fault.offset()));
    answer["error"] = {{"number", fault.number()},
                       {"text", DateErrorText(fault.number())},
                       {"offset", fault.offset()}};
  }
  if (json) {
    PrintJson(answer);
  } else {
    if (answer.contains("elements")) table.Print(stdout);
    if (!problem.empty()) {
      fmt::print("\n{}\n", problem);
    } else if (answer.contains("writes")) {
      fmt::print("\n{}\n", Printable(answer["writes"].get<std::string>()));
    }
  }
  return problem.empty() ? kDone : kFound;
}

}  // namespace kestra::tools

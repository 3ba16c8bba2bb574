// kestra inspect: a data object or a boot file and its fields, or a text and its character set.
#include "inspect.h"

#include "command.h"

namespace kestra::tools {
namespace {

struct Options : InspectOptions {
  std::string file;
  bool text = false;
};

constexpr std::size_t kSample = std::size_t{256} << 10;

int Run(const Options& options, bool json) {
  TextFile file(options.file, kSample);
  const bool text = options.text || !options.from.empty();
  const bool named_object = options.file.ends_with(".nlb");
  if (!text && (named_object || LooksLikeObject(file.Start(96)))) {
    return InspectObject(options.file, options, json);
  }
  return InspectText(file, options, json);
}

std::function<int()> Setup(CLI::App& app, const Globals& globals) {
  auto options = std::make_shared<Options>();
  app.add_option("file", options->file, "A text, a data object or a boot file; - is stdin")
      ->required()
      ->type_name("FILE");
  app.add_option("-f,--from", options->from, "Check a text against this character set")
      ->type_name("SET");
  app.add_flag("--text", options->text, "Take FILE for a text, whatever it looks like");
  app.add_flag(
      "-a,--all", options->all,
      "Every string of an object, every entry of a boot file, every possible set of a text");
  app.add_option("--reports", options->reports, "Malformed places to list, 20 by default")
      ->type_name("N");
  app.footer("Exit code 1: the text has malformed places; 3: the data file is damaged.\n\n" +
             Examples({"kestra inspect letter.txt", "kestra inspect --from utf-8 export.csv",
                       "kestra inspect --all $KESTRA_HOME/nls/data/lx1boot.nlb"}));
  return [options, &globals] { return Run(*options, globals.json); };
}

}  // namespace

const Command kInspectCommand{"inspect", "Tell what a text or data file is", Setup};

}  // namespace kestra::tools

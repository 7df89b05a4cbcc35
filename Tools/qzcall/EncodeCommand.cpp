#include "Tools/qzcall/EncodeCommand.h"

#include <CLI/CLI.hpp>
#include <iostream>

#include "Tools/qzcall/Encode.h"
#include "Tools/qzcall/Output.h"
#include "Tools/qzcall/Terminal.h"

namespace qzcall {
namespace {

struct EncodeOptions {
  std::string form;
  std::vector<std::string> arguments;
  std::string outputFile;
  int level = -1;
};

constexpr char kEncodeFooter[] =
    "Examples:\n"
    "  qzcall encode block --arg text:hello --arg long:42 -o arguments.bin\n"
    "  qzcall encode list --arg double:0.5 | qzcall decode -";

std::string refuseOtherStream(const std::string& value) {
  return value == "list" || value == "block" || value == "buffer" ? "" : "must be list, block or buffer";
}

int finish(const EncodeOptions& written, const std::string& stream) {
  writeTo(written.outputFile, [&](std::ostream& out) { out << stream; });
  return kSuccess;
}

Prepared prepare(const std::shared_ptr<EncodeOptions>& written) {
  if (written->level > 0 && written->form != "block")
    return tl::unexpected<std::string>("--level: only a block is compressed");
  if (written->outputFile.empty() && isOutputTerminal())
    return tl::unexpected<std::string>("--output: the bytes are not for a terminal; name a file");
  return parseArguments(written->arguments)
      .and_then([&](const std::vector<WrittenArgument>& arguments) {
        return encode(written->form, arguments, written->level);
      })
      .and_then([&](const std::string& stream) {
        return checkOutput(written->outputFile).map([&] {
          return Command{[=]() -> Finish { return [=] { return finish(*written, stream); }; }, 0, nullptr};
        });
      });
}

}  // namespace

Prepare declareEncode(CLI::App& command, std::shared_ptr<CommonOptions> /*common*/) {
  const auto written = std::make_shared<EncodeOptions>();
  addText(command, "form", written->form,
          "list for a list stream, block for a compressed one, buffer for buffer streams")
      ->type_name("FORM")
      ->required()
      ->check(refuseOtherStream, "", "");
  addArguments(command, written->arguments);
  addOutput(command, written->outputFile, "Write the bytes to this file instead of the standard output");
  command.add_option("--level", written->level, "Compression of a block, 1 to 9")
      ->type_name("N")
      ->check(CLI::Range(1, 9));
  command.footer(kEncodeFooter);
  return [written] { return prepare(written); };
}

}  // namespace qzcall

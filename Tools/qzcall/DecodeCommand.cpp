#include "Tools/qzcall/DecodeCommand.h"

#include <CLI/CLI.hpp>
#include <iostream>

#include "Tools/qzcall/DecodeText.h"
#include "Tools/qzcall/Failure.h"
#include "Tools/qzcall/Input.h"
#include "Tools/qzcall/Terminal.h"

namespace qzcall {
namespace {

struct DecodeOptions {
  std::shared_ptr<CommonOptions> common;
  std::string file;
  std::string form;
  std::optional<std::size_t> width;
};

/// What a file holds, and its bytes.
struct DecodedFile {
  std::vector<unsigned char> bytes;
  Decoded decoded;
};

constexpr char kDecodeFooter[] =
    "Exit code 1 means that the file is broken; the output then shows what is intact.\n"
    "\n"
    "Examples:\n"
    "  qzcall decode call.dump\n"
    "  qzcall encode block --arg text:hello | qzcall decode -\n"
    "  qzcall decode --as list --json arguments.bin";

std::string refuseOtherForm(const std::string& value) {
  return formNamed(value) ? "" : "must be one of " + formNames();
}

int finish(const DecodeOptions& written, const DecodedFile& result) {
  const Node& root = result.decoded.root;
  if (written.common->json) {
    writeTreeJson(std::cout, root);
  } else {
    writeTree(std::cout, root, written.width.value_or(outputWidth()));
  }
  if (root.kind == Kind::unknown)
    std::cerr << "qzcall: '" << forTerminal(written.file, 200) << "' looks like nothing known; --as says what it is\n";
  return firstFault(root) == nullptr ? kSuccess : kFaulty;
}

Finish decodeFile(const std::shared_ptr<DecodeOptions>& written) {
  auto bytes = readAll(written->file);
  if (!bytes)
    return [what = "'" + forTerminal(written->file, 200) + "' " + bytes.error()] { return complainOfUsage(what); };
  const auto result = std::make_shared<DecodedFile>();
  result->bytes = std::move(*bytes);
  result->decoded = decode(result->bytes, formNamed(written->form).value_or(Form::any));
  return [written, result] { return finish(*written, *result); };
}

}  // namespace

Prepare declareDecode(CLI::App& command, std::shared_ptr<CommonOptions> common) {
  const auto written = std::make_shared<DecodeOptions>();
  written->common = std::move(common);
  addText(command, "file", written->file, "File to decode, - for the standard input")->type_name("FILE")->required();
  const std::string about = "What the file holds, if that is not to be found out: " + formNames();
  addText(command, "--as", written->form, about.c_str())->type_name("FORM")->check(refuseOtherForm, "", "");
  command
      .add_option("--width", written->width,
                  "Cut values so that lines have this many characters, 0 for whole values; the terminal's by default")
      ->type_name("N");
  addJson(command, *written->common);
  command.get_option("--json")->description("Print the tree as one JSON object, with whole values");
  command.footer(kDecodeFooter);
  return [written]() -> Prepared { return Command{[written] { return decodeFile(written); }, 0, nullptr}; };
}

}  // namespace qzcall

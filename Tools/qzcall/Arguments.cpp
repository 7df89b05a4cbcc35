#include "Tools/qzcall/Arguments.h"

#include <charconv>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>

#include "QzTypes.h"
#include "Tools/qzcall/Text.h"

namespace qzcall {
namespace {

using Parsed = tl::expected<WrittenArgument, std::string>;

WrittenArgument makeArgument(const void* data, std::size_t size, unsigned char type) {
  const auto* const bytes = static_cast<const unsigned char*>(data);
  return {type, {bytes, bytes + size}};
}

/// from_chars alone refuses a leading plus sign.
std::string_view withoutPlus(std::string_view text) {
  return text.size() > 1 && text[0] == '+' && text[1] != '-' ? text.substr(1) : text;
}

template <class Number>
Parsed parseNumber(std::string_view value, unsigned char type) {
  const std::string_view digits = withoutPlus(value);
  Number number{};
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error == std::errc::result_out_of_range) return tl::unexpected<std::string>("is out of range");
  if (error != std::errc() || end != digits.data() + digits.size())
    return tl::unexpected<std::string>("is not a number");
  return makeArgument(&number, sizeof number, type);
}

template <class Integer>
Parsed parseIntegral(std::string_view value, unsigned char type) {
  auto parsed = parseNumber<Integer>(value, type);
  if (!parsed && parsed.error() == "is out of range") {
    using Limits = std::numeric_limits<Integer>;
    parsed.error() += " (" + std::to_string(Limits::min()) + " to " + std::to_string(Limits::max()) + ")";
  }
  return parsed;
}

Parsed parseText(std::string_view value, unsigned char type) {
  return makeArgument(std::string(value).c_str(), value.size() + 1, type);
}

Parsed parseHex(std::string_view value, unsigned char type) {
  auto bytes = fromHex(value);
  if (!bytes) return tl::unexpected<std::string>("is not an even number of hexadecimal digits (no 0x, no blanks)");
  return WrittenArgument{type, std::move(*bytes)};
}

Parsed parseFile(std::string_view value, unsigned char type) {
  const std::filesystem::path path(std::u8string(value.begin(), value.end()));
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  std::ifstream file(path, std::ios::binary);
  if (error || !file) return tl::unexpected<std::string>("names a file that cannot be read");
  if (size > static_cast<std::uintmax_t>(std::numeric_limits<long>::max()))
    return tl::unexpected<std::string>("names a file of 2 GB or more");
  std::vector<unsigned char> bytes(static_cast<std::size_t>(size));
  if (!file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size)))
    return tl::unexpected<std::string>("names a file that could not be read to its end");
  return WrittenArgument{type, std::move(bytes)};
}

struct Reader {
  std::string_view name;
  unsigned char type;
  Parsed (*read)(std::string_view value, unsigned char type);
};

constexpr Reader kReaders[] = {
    {"text", ITKBufferType::DT_TEXT, parseText},
    {"long", ITKBufferType::DT_LONG, parseIntegral<std::int32_t>},
    {"short", ITKBufferType::DT_I2, parseIntegral<std::int16_t>},
    {"byte", ITKBufferType::DT_I1, parseIntegral<std::int8_t>},
    {"float", ITKBufferType::DT_FLOAT, parseNumber<float>},
    {"double", ITKBufferType::DT_DOUBLE, parseNumber<double>},
    {"hex", ITKBufferType::DT_BINARY, parseHex},
    {"file", ITKBufferType::DT_BINARY, parseFile},
};

}  // namespace

Parsed parseArgument(const std::string& written) {
  const std::string_view text = written;
  const std::string quoted = "'" + forTerminal(text, 60) + "'";
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) return tl::unexpected(quoted + " is not of the form TYPE:VALUE");
  for (const Reader& reader : kReaders) {
    if (reader.name != text.substr(0, colon)) continue;
    return reader.read(text.substr(colon + 1), reader.type).map_error([&](const std::string& reason) {
      return quoted + " " + reason;
    });
  }
  return tl::unexpected(quoted + " has an unknown type; use text, long, short, byte, float, double, hex or file");
}

tl::expected<std::vector<WrittenArgument>, std::string> parseArguments(const std::vector<std::string>& written) {
  std::vector<WrittenArgument> arguments;
  for (const std::string& text : written) {
    auto argument = parseArgument(text);
    if (!argument) return tl::unexpected("--arg: " + argument.error());
    arguments.push_back(std::move(*argument));
  }
  return arguments;
}

}  // namespace qzcall

// What the decoder makes of good bytes, of broken ones, and of those that are meant to harm.
#include <gtest/gtest.h>
#include <zlib.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "Tools/qzcall/DecodeText.h"
#include "Tools/qzcall/DumpFile.h"

namespace {

using namespace std::string_literals;
using qzcall::Bytes;
using qzcall::Form;
using qzcall::Kind;
using qzcall::Node;

Bytes bytesOf(const std::string& text) { return {reinterpret_cast<const unsigned char*>(text.data()), text.size()}; }

std::string number(std::size_t value) {
  std::string out;
  for (unsigned shift = 0; shift < 32; shift += 8) out += static_cast<char>(value >> shift);
  return out;
}

std::string element(char type, const std::string& content) { return type + number(content.size()) + content; }

std::string listOf(const std::vector<std::string>& elements) {
  std::string out = "\x07"s + static_cast<char>(elements.size());
  for (const std::string& element : elements) out += element;
  return out;
}

std::string block(const std::string& content, std::uint32_t checksumStart = 0x4152494E) {
  std::string packed(compressBound(static_cast<uLong>(content.size())), '\0');
  uLong length = static_cast<uLong>(packed.size());
  EXPECT_EQ(compress2(reinterpret_cast<Bytef*>(packed.data()), &length, bytesOf(content).data(),
                      static_cast<uLong>(content.size()), 9),
            Z_OK);
  const auto checksum = crc32(checksumStart, bytesOf(content).data(), static_cast<uInt>(content.size()));
  return "NIRA" + number(length) + number(content.size()) + number(checksum) + packed.substr(0, length);
}

std::string treeOf(const std::string& bytes, Form form = Form::any, std::size_t width = 0) {
  const auto decoded = qzcall::decode(bytesOf(bytes), form);
  std::ostringstream out;
  qzcall::writeTree(out, decoded.root, width);
  return out.str();
}

/// The lines that tell of faults, without the white space in front of their texts.
std::string faultsOf(const std::string& bytes, Form form = Form::any) {
  std::istringstream lines(treeOf(bytes, form));
  std::string out;
  for (std::string line; std::getline(lines, line);)
    if (const auto mark = line.find("! "); mark != std::string::npos && line.find_first_not_of(' ', 9) == mark)
      out += line.substr(0, 9) + line.substr(mark + 1) + "\n";
  return out;
}

const std::string kList = listOf({element(1, "hi\0"s), element(4, number(42)), element(0, "\x00\xff"s)});
const std::string kNested = listOf({element(7, kList), element(8, block(kList)), element(77, "x"), element(4, "xy")});
const std::string kEnvelope =
    "<?xml version=\"1.0\"?> <SOAP-ENV:Envelope a='>'><SOAP-ENV:Header/><b:data>&lt;qzSOAPBody&gt;&lt;text&gt;a "
    "&amp;lt; "
    "b&lt;/text&gt;&lt;/qzSOAPBody&gt;</b:data><!-- < --><x>1 &amp; 2</x></SOAP-ENV:Envelope>";

std::string multipart(const std::string& arguments) {
  return "\r\n--b\r\nContent-Type: text/xml\r\n\r\n" + kEnvelope + "\r\n--b\r\n" + arguments + "--b--\r\n";
}

std::string multipartReply(const std::string& arguments) {
  return "--r\r\nContent-Type: text/xml\r\n\r\n" + kEnvelope +
         "\r\n--r\r\nContent-Length: " + std::to_string(arguments.size()) + "\r\n\r\n" + arguments + "\r\n--r--\r\n";
}

std::string request(const std::string& arguments) {
  return "\r\n\r\nSent to Tarvon gateway:\r\n\r\nContent-Type: multipart/related; boundary=\"b\"\r\nCookie: a=b\r\n" +
         multipart(arguments);
}

std::string reply(const std::string& type, const std::string& body) {
  return "\r\n\r\nReceived from Tarvon gateway:\r\n\r\n200\r\nHTTP/1.1 200 OK\r\nContent-Type: " + type + "\r\n\r\n" +
         body;
}

std::string exchange(const std::string& arguments) {
  return request(arguments) + reply("multipart/related; boundary=r", multipartReply(arguments));
}

TEST(Decode, ShowsNestedListsAndBlocksWithTheirPlaces) {
  EXPECT_EQ(treeOf(kNested), R"( 00000000        96  list
 00000001         1    count  4
 00000002        31    element 0, list
 00000008         1      count  3
 00000009         8      element 0, text, 3 bytes  "hi"
 00000011         9      element 1, long, 4 bytes  42
 0000001a         7      element 2, binary, 2 bytes  00 ff
 00000021        50    element 1, compressed block
 0000002a         4      compressed length  29
 0000002e         4      uncompressed length  26
 00000032         4      checksum  0x10e67d65
 00000036        29      zlib stream
+00000000        26        restored to 26 bytes, in which the offsets below count
+00000000        26          list
+00000001         1            count  3
+00000002         8            element 0, text, 3 bytes  "hi"
+0000000a         9            element 1, long, 4 bytes  42
+00000013         7            element 2, binary, 2 bytes  00 ff
 00000053         6    element 2, type 77, 1 byte  78
 00000059         7    element 3, long, 2 bytes  78 79
)");
}

TEST(Decode, TellsEachFormFromItsBytes) {
  const auto listFile = [](std::size_t count) {
    std::string out = "\x07" + number(count);
    for (std::size_t i = 0; i < count; ++i) out += element(1, "x");
    return out;
  };
  const std::tuple<std::string, Form, const char*> kCases[] = {
      {kList, Form::list, "list"},
      {listOf({element(0, ""), element(0, "")}), Form::list, "list"},
      {listFile(0), Form::listFile, "listFile"},
      {listFile(1), Form::listFile, "listFile"},
      {listFile(256), Form::listFile, "listFile"},
      {element(7, kList) + element(6, number(0) + number(0)), Form::buffer, "buffers"},
      {block(kList), Form::block, "block"},
      {"\xEF\xBB\xBF\n" + kEnvelope, Form::envelope, "envelope"},
      {multipart(kList), Form::multipart, "multipart"},
      {multipartReply(block(kList)), Form::multipart, "multipart"},
      {exchange(kList), Form::dump, "dump"},
      {"\r\n\r\nSent to remote http server:\r\n\r\nURL:http://h/\r\nAccept: */*\r\n", Form::dump, "dump"},
      {"something else", Form::any, "unknown"},
  };
  for (const auto& [bytes, form, name] : kCases) {
    EXPECT_EQ(qzcall::formOf(bytesOf(bytes)), form) << name;
    EXPECT_STREQ(qzcall::nameOf(qzcall::decode(bytesOf(bytes)).root.kind), name);
    EXPECT_EQ(faultsOf(bytes), form == Form::any ? " 00000000 nothing known begins like this\n" : "") << name;
  }
}

TEST(Decode, SaysWhereAndWhyBytesAreBroken) {
  const std::string packed = block(kList);
  const std::string length = std::to_string(packed.size() - 16);
  auto with = [](std::string bytes, std::size_t at, const std::string& other) {
    return bytes.replace(at, other.size(), other);
  };
  const std::tuple<std::string, Form, std::string> kCases[] = {
      {"", Form::list, " 00000000 a list begins with the byte 07, and there are no bytes\n"},
      {"\x08", Form::list, " 00000000 a list begins with the byte 07, not with 08\n"},
      {"\x07", Form::list, " 00000001 the bytes end before the count does\n"},
      {kList.substr(0, 10), Form::list, " 0000000a element 1 has a head of 5 bytes, of which 0 are there\n"},
      {kList.substr(0, 16), Form::list, " 0000000b element 1 announces 4 bytes, of which 1 is there\n"},
      {with(kList, 3, "\xff\xff\xff\xff"), Form::list, " 00000003 element 0 announces the negative length -1\n"},
      {"\x07\xff\xff\xff\xff", Form::listFile, " 00000001 the count is negative\n"},
      {"\x07" + number(256) + element(1, "xy") + "\x01", Form::any,
       " 0000000c element 1 has a head of 5 bytes, of which 1 is there\n"},
      {listOf({element(7, "\x07\x01")}), Form::list,
       " 00000009 element 0 has a head of 5 bytes, of which 0 are there\n"},
      {"NIRA", Form::any, " 00000004 a block has more than the 16 bytes of its header, this one 4\n"},
      {packed.substr(0, packed.size() - 1), Form::any,
       " 00000" +
           [&] {
             char t[8];
             std::snprintf(t, sizeof t, "%03zx", packed.size() - 1);
             return std::string(t);
           }() +
           " the zlib stream breaks off after 26 bytes were restored\n 00000004 the header announces " + length +
           " compressed bytes, of which " + std::to_string(packed.size() - 17) + " are there\n"},
      {with(packed, 8, number(27)), Form::any, " 00000008 the zlib stream holds 26 bytes, not the announced 27\n"},
      {with(packed, 8, number(25)), Form::any, " 00000008 the zlib stream holds more than the announced 25 bytes\n"},
      {with(packed, 16, "\x79"), Form::any,
       " 00000012 the zlib stream is broken: incorrect header check, after 0 bytes were restored\n"},
      {"<SOAP-ENV:Envelope><a><b></a>", Form::any, " 00000019 </a> stands inside of <b>, which begins at 00000016\n"},
      {"<SOAP-ENV:Envelope><a", Form::any, " 00000013 the text ends inside of a tag\n"},
      {"<SOAP-ENV:Envelope>", Form::any,
       " 00000013 the text ends inside of <SOAP-ENV:Envelope>, which begins at 00000000\n"},
      {"<html></html>", Form::any, " 00000000 there is no <SOAP-ENV:Envelope, by which an envelope is found\n"},
      {"<!DOCTYPE a><SOAP-ENV:Envelope/>", Form::any,
       " 00000000 the text declares a document type, which the library refuses\n"},
      {"--b", Form::any, " 00000000 the line of the first mark does not end\n"},
      {multipartReply(kList).substr(0, multipartReply(kList).size() - 10), Form::any,
       " 00000106 the part announces 26 bytes, of which 25 are there\n"},
  };
  for (const auto& [bytes, form, expected] : kCases) {
    const std::string faults = faultsOf(bytes, form);
    EXPECT_NE(faults.find(expected), std::string::npos) << faults << expected;
  }
  EXPECT_NE(faultsOf(block(kList, 0)).find("was begun with 0 instead of the magic"), std::string::npos);
}

TEST(Decode, ShowsTheFieldsOfACallAndTheirValues) {
  const std::string tree = treeOf(kEnvelope);
  for (const char* const line : {"text  \"a < b\"\n", "x  \"1 & 2\"\n", "SOAP-ENV:Header  \"\"\n"})
    EXPECT_NE(tree.find(line), std::string::npos) << tree;
  const std::string references =
      treeOf("<SOAP-ENV:Envelope>&#228;&#x20AC;&#38;lt;&#0;&#xD800;&#x;&amp;#9;</SOAP-ENV:Envelope>");
  EXPECT_NE(references.find("\"\xC3\xA4\xE2\x82\xAC&lt;&#0;&#xD800;&#x;&#9;\"\n"), std::string::npos) << references;
}

// Arguments may spell whatever stands around them.
TEST(Decode, FindsTheEndOfArgumentsThatLookLikeTheirFrame) {
  const std::string hostile = "\r\n--b--\r\n\r\n\r\nReceived from Tarvon gateway:\r\n\r\n200\r\n" + exchange(kList);
  for (const std::string& arguments : {listOf({element(0, hostile)}), block(hostile + std::string(58, 'x'))}) {
    const std::string body = multipart(arguments);
    const auto decoded = qzcall::decode(bytesOf(body), Form::multipart);
    EXPECT_EQ(qzcall::firstFault(decoded.root), nullptr) << treeOf(body);
    ASSERT_EQ(decoded.root.children.size(), 2U);
    EXPECT_EQ(decoded.root.children[1].length, arguments.size());
  }
  const std::string first = exchange(listOf({element(0, hostile)}));
  const std::string dump = first + exchange(block(kList));
  const auto decoded = qzcall::decode(bytesOf(dump));
  EXPECT_EQ(qzcall::firstFault(decoded.root), nullptr) << treeOf(dump);
  ASSERT_EQ(decoded.root.children.size(), 2U);
  EXPECT_EQ(decoded.root.children[1].offset, first.size());
  std::string other = hostile;
  for (std::size_t at = 0; (at = other.find("--b", at)) != std::string::npos;) other[at + 2] = 'c';
  const std::string cut = request(listOf({element(0, other + other)}));
  EXPECT_EQ(qzcall::decode(bytesOf(cut.substr(0, cut.size() - 60))).root.children.size(), 1U);
}

TEST(Decode, ShowsWhatIsIntactOfADamagedDump) {
  auto with = [](std::string text, const std::string& part, const std::string& other) {
    return text.replace(text.find(part), part.size(), other);
  };
  const std::string good = exchange(kList);
  // What is damaged, the fault that tells of it, and how many argument streams are shown all the same.
  const std::tuple<std::string, const char*, std::size_t> kCases[] = {
      {with(good, "Sent to", "Sunk to"), "an exchange begins with", 2},
      {good.substr(30) + good, "an exchange begins with", 4},
      {with(good, "Content-Type: multi", "Content\1Type: multi"), "this line is no header", 2},
      {with(good, "200 OK\r\nContent-Type:", "200 OK\r\nContent Type:"), "this line is no header", 2},
      {with(good, "HTTP/1.1 200 OK\r\n", ""), "", 2},
      {with(good, "200\r\n", "2"), "", 2},
      {with(good, "\x07\x03\x01", "\x07\x03\xff"), "", 2},
      {with(good, "\x07\x03\x01\x03"s, "\x07\x03\x01\xff"s) + good, "element 0 announces 255 bytes", 4},
      {good.substr(0, good.size() - 20) + good, "the part announces 26 bytes, of which 15 are there", 4},
      {good.substr(0, good.rfind("</SOAP-ENV:Envelope>")) + good, "there is no whole envelope in the first part", 3},
      {good.substr(0, good.rfind("--r\r\nContent-Type") + 2) + good, "does not occur", 3},
      {good.substr(0, good.rfind("Length: 26") + 10) + good, "the part announces 26 bytes, of which 0 are there", 3},
      {with(good, "Content-Type: text", "Content-Length: 999999\r\nContent-Type: text") + good, "of which", 3},
      {with(good, "Cookie: a=b\r\n", "!#$%&'*+-.^_`|~: token bytes\r\n"), "", 2},
      {with(good, "boundary=r", "\r\n boundary=r;\r\n\tx=y"), "", 2},
      {with(good, "\r\n\r\nReceived", "more\r\n\r\nReceived"), "", 2},
  };
  for (const auto& [dump, fault, streams] : kCases) {
    const std::string tree = treeOf(dump, Form::dump);
    std::size_t count = 0;
    for (std::size_t at = 0; (at = tree.find("  list\n", at)) != std::string::npos; ++at) ++count;
    EXPECT_EQ(count, streams) << tree;
    const std::string faults = faultsOf(dump, Form::dump);
    EXPECT_NE(faults.find(fault), std::string::npos) << faults << fault;
    EXPECT_EQ(faults.empty(), *fault == '\0') << faults;
  }
}

TEST(Decode, NamesRepliesThatTheLibraryRefuses) {
  const std::string whole = multipartReply(kList), type = "multipart/related; boundary=r";
  auto with = [&](const std::string& part, const std::string& other) {
    return std::string(whole).replace(whole.find(part), part.size(), other);
  };
  const std::string head = whole.substr(0, whole.find("\r\n--r\r\nContent-Length"));
  const std::tuple<std::string, std::string, const char*> kCases[] = {
      {type, whole, ""},
      {type, with("Content-Length: 26", "content-length: 26 bytes"), ""},
      {"multipart/related", whole, "the headers name no boundary"},
      {type, with("Content-Length", "Contents-Length"), "the part announces no length"},
      {type, with("Content-Length: 26", "Content-Length: -1"), "the length that the part announces is no number"},
      {type, head + "\r\n--r--\r\n", "no part stands behind the envelope"},
      {type, with("Envelope", "Envelop"), "there is no whole envelope in the first part"},
      {type, with("\r\n--r--", "\r\n--r\r\nContent-Length: 1\r\n\r\nx\r\n--r--"), "this is a second attachment"},
      {type, "", "does not occur"},
      {"text/html", "<html/>", "there is no whole envelope in the body"},
      {"text/xml\r\nContent-Length: 5", kEnvelope, "the headers announce 5 bytes, and there are "},
  };
  for (const auto& [contentType, body, fault] : kCases) {
    const std::string faults = faultsOf(request(kList) + reply(contentType, body));
    EXPECT_NE(faults.find(fault), std::string::npos) << faults << fault;
    EXPECT_EQ(faults.empty(), *fault == '\0') << faults;
  }
}

TEST(Decode, ShowsWhatStandsBehindTheEndOfAPart) {
  const std::string packed = block(kList), stray = "\x01stray";
  std::string longer = packed + stray;
  longer.replace(4, 4, number(longer.size() - 16));
  const std::string dump = request(kList) + reply("multipart/related; boundary=r", multipartReply(kList));
  for (const std::string& bytes : {longer, packed + stray, kList + stray, multipart(kList) + stray,
                                   std::string(dump).insert(dump.rfind("\r\n--r--"), stray)}) {
    EXPECT_EQ(faultsOf(bytes), "");
    EXPECT_NE(treeOf(bytes).find("behind the end, text, 6 bytes  \"\\x01stray\"\n"), std::string::npos)
        << treeOf(bytes);
  }
}

TEST(DumpFile, IsReadByPiecesAsInMemory) {
  const std::string dump = "front" + exchange(listOf({element(0, std::string(600000, 'x') + exchange(kList))})) +
                           exchange(kNested) + request(kList) + request(kList) + reply("text/xml", kEnvelope) +
                           request(kList).substr(0, 90);
  qzcall::MemoryBytes memory(bytesOf(dump));
  qzcall::WindowBytes window(dump.size(), [&](std::uint64_t at, char* into, std::size_t size) {
    return std::optional(dump.copy(into, std::min<std::size_t>(size, 1000), static_cast<std::size_t>(at)));
  });
  qzcall::DumpReader inMemory(memory), byPieces(window);
  EXPECT_EQ(inMemory.firstBanner(), 5U);
  std::size_t count = 0;
  for (auto one = inMemory.next(); one; one = inMemory.next(), ++count) {
    const auto other = byPieces.next();
    ASSERT_TRUE(other);
    EXPECT_EQ(std::tuple(one->begin(), one->end(), one->reply.has_value()),
              std::tuple(other->begin(), other->end(), other->reply.has_value()));
  }
  EXPECT_FALSE(byPieces.next());
  EXPECT_FALSE(window.hasFailed());
  EXPECT_EQ(count, 5U);
}

TEST(Decode, BoundsWhatHostileBytesCost) {
  qzcall::Limits small;
  small.inflated = 1000;
  small.nodes = 20;
  std::string deep = "\x07\x00"s, tags = "<SOAP-ENV:Envelope>", lines = "--b\r\n";
  for (int i = 0; i < 1000; ++i) deep = listOf({element(7, deep)}), tags += "<a\x1b[2J>";
  for (int i = 0; i < 100000; ++i) lines += "a:\r\n";
  lines += "--b--\r\n";
  const std::pair<std::string, const char*> kCases[] = {
      {block(std::string(100000, 'x')), "too much to be restored: stopped after 1000 bytes were restored"},
      {listOf(std::vector<std::string>(100, element(1, "x"))), "too many parts: what begins here was not opened"},
      {listOf({element(8, block(std::string(900, 'x'))), element(8, block(std::string(900, 'x')))}), "too much"}};
  for (const auto& [bytes, expected] : kCases) {
    const auto decoded = qzcall::decode(bytesOf(bytes), Form::any, small);
    const auto* const fault = qzcall::firstFault(decoded.root);
    ASSERT_NE(fault, nullptr);
    EXPECT_TRUE(fault->text.starts_with(expected)) << fault->text;
  }
  EXPECT_NE(faultsOf(deep).find("nested too deeply"), std::string::npos);
  EXPECT_NE(faultsOf(tags).find("<a\\x1b[2J> is nested too deeply"), std::string::npos) << faultsOf(tags);
  const auto flood = qzcall::decode(bytesOf(lines), Form::any, small);
  ASSERT_EQ(flood.root.children.size(), 1U);
  EXPECT_EQ(flood.root.children[0].faults.size() + flood.root.faults.size(), 1U) << "too many parts, said once";
}

std::size_t partsOf(const Node& node) {
  std::size_t count = 1;
  for (const Node& child : node.children) count += partsOf(child);
  return count;
}

/// Every part and every fault lies within the bytes that it counts in.
void checkPlaces(const Node& node, std::uint64_t size) {
  ASSERT_LE(node.offset + node.length, size) << qzcall::nameOf(node.kind) << ' ' << node.name;
  for (const auto& fault : node.faults) ASSERT_LE(fault.offset, size) << fault.text;
  for (const Node& child : node.children) checkPlaces(child, child.kind == Kind::inflated ? child.length : size);
}

TEST(Decode, StandsBytesThatWereCutOrChanged) {
  for (const std::string& good : {kNested, block(kNested), exchange(block(kNested)), element(7, kNested)}) {
    for (std::size_t cut = 0; cut < good.size(); ++cut) {
      // In a block of its own, what is read behind the end is seen by the sanitizers.
      const std::vector<unsigned char> head(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(cut));
      const auto decoded = qzcall::decode(head);
      checkPlaces(decoded.root, cut);
      EXPECT_LE(partsOf(decoded.root), good.size());
      const bool isStream = good[0] == '\x07' || good[0] == 'N';
      EXPECT_TRUE(!isStream || qzcall::firstFault(decoded.root) != nullptr) << cut;
    }
    for (std::size_t at = 0; at < good.size(); ++at)
      for (const char other : {'\0', '\x07', '\xff', '<'}) {
        std::string bytes = good;
        bytes[at] = other;
        const auto decoded = qzcall::decode(bytesOf(bytes));
        checkPlaces(decoded.root, bytes.size());
      }
  }
}

TEST(Decode, WritesOneJsonObject) {
  const std::string bytes =
      listOf({element(1, "\x1b[2J\xff"), element(1, "\"\n"), element(6, "\0\0\0\0\0\0\0\x80"s), "\x01"});
  std::ostringstream out;
  qzcall::writeTreeJson(out, qzcall::decode(bytesOf(bytes), Form::list).root);
  const auto json = nlohmann::json::parse(out.str());
  EXPECT_EQ(json["parts"][1]["hex"], "1b5b324aff");
  EXPECT_EQ(json["parts"][2]["value"], "\"\n");
  EXPECT_EQ(json["parts"][3].dump(), R"({"kind":"double","length":13,"name":"element 2","offset":19,"value":-0.0})");
  EXPECT_EQ(json["faults"][0]["offset"], bytes.size() - 1);
}

TEST(Decode, CutsLinesToTheirWidthAndNoCharacterInTwo) {
  std::string text;
  while (text.size() < 300) text += "\xC3\xA4";
  for (std::size_t width = 80; width < 84; ++width) {
    std::istringstream lines(treeOf(listOf({element(1, text)}), Form::list, width));
    for (std::string line; std::getline(lines, line);) {
      EXPECT_TRUE(qzcall::isUtf8(line)) << line;
      EXPECT_LE(line.size(), width);
    }
    const std::string noText(300, '\xB1');
    EXPECT_EQ(treeOf(listOf({element(1, noText)}), Form::list, width).find('"'), std::string::npos) << width;
  }
}

}  // namespace

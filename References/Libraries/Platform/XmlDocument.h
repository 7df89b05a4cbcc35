// The system's XML parser, version 3.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <tl/expected.hpp>

#include "References/Libraries/Platform/Com.h"

struct IXMLDOMDocument;
struct IXMLDOMNode;

namespace qz::platform {

class Bstr;

/// One node of a document, or none. A node keeps its document alive; it must end before COM does on its thread. Every
/// question to none, and every failing one, has the empty answer; short memory is std::bad_alloc.
class XmlNode {
 public:
  XmlNode() noexcept = default;
  explicit XmlNode(ComPtr<IXMLDOMNode> node) noexcept;
  XmlNode(XmlNode&&) noexcept;
  XmlNode& operator=(XmlNode&&) noexcept;
  ~XmlNode();

  explicit operator bool() const noexcept { return static_cast<bool>(node_); }
  IXMLDOMNode* get() const noexcept { return node_.get(); }
  IXMLDOMNode* release() noexcept { return node_.release(); }

  /// Text of the element and everything in it, without its outer white space, as UTF-8.
  std::string text() const;
  /// The element as XML, as the parser writes it, as UTF-8.
  std::string xml() const;
  /// Value of the attribute with this name, prefix included, as UTF-8; "" when there is none.
  std::string attribute(std::string_view name) const;

  /// True when this is an element with exactly this name, prefix included.
  bool is(std::wstring_view qualifiedName) const;

  /// The first child element.
  XmlNode firstChild() const;
  /// The child elements in order.
  std::vector<XmlNode> children() const;
  /// The first child element with this name or local name.
  XmlNode child(std::string_view name) const;
  /// The first element below this node with this name or local name, in document order.
  XmlNode descendant(std::string_view name) const;
  /// All such elements.
  std::vector<XmlNode> descendants(std::string_view name) const;

  /// The first node that a path selects, in the parser's default language: prefixes are those that the document uses.
  XmlNode selectFirst(const wchar_t* path) const;
  /// All nodes that it selects, in document order.
  std::vector<XmlNode> selectAll(const wchar_t* path) const;

 private:
  ComPtr<IXMLDOMNode> node_;
};

/// Why there is no document.
struct XmlFailure {
  enum class Kind {
    Refused,  ///< it holds what no message may hold
    NotXml    ///< the parser does not take it
  };
  Kind kind;
  std::string text;
};

/// What becomes of white space that surrounds a text.
enum class WhiteSpace { Trim, Preserve };

/// One document. Nothing outside the text is ever fetched.
class XmlDocument {
 public:
  /// Makes an empty document; the error is the system's code.
  static tl::expected<XmlDocument, HRESULT> create();
  XmlDocument(XmlDocument&&) noexcept;
  XmlDocument& operator=(XmlDocument&&) = delete;
  ~XmlDocument();

  /// Parses UTF-8 text up to its first zero byte, whatever encoding it declares; a byte order mark is skipped. After a
  /// failure the document is empty.
  tl::expected<void, XmlFailure> loadText(std::string_view text, WhiteSpace whiteSpace = WhiteSpace::Trim);
  /// The same for the whole bytes of a file: UTF-8, or UTF-16 with a byte order mark.
  tl::expected<void, XmlFailure> loadBytes(std::string_view bytes);

  /// Empties the document.
  void clear();

  /// The document as the root of its nodes.
  XmlNode root() const;
  /// The parser's object, still owned.
  IXMLDOMDocument* get() const noexcept { return document_.get(); }

 private:
  XmlDocument(ComScope com, ComPtr<IXMLDOMDocument> document) noexcept;

  tl::expected<void, XmlFailure> loadWide(const Bstr& text, WhiteSpace whiteSpace);

  ComScope com_;
  ComPtr<IXMLDOMDocument> document_;
};

}  // namespace qz::platform

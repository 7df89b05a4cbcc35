// The flat face's XML object behind its interface.
#pragma once

#include "CqzXmlDom.h"
#include "References/Libraries/Rpc/XmlDomOps.h"

class CqzXmlDomImpl final : public CqzXmlDom {
 public:
  bool createFromText(const char* text, CqzSOAPError* error) noexcept override;
  bool createFromText(const char* text) noexcept override;
  bool createFromFile(const char* path) noexcept override;
  IXMLDOMDocument* getXmlDom() noexcept override;
  bool getElementValue(const char* name, CqzBuffer* out) noexcept override;
  bool getRELAYInfo(CRpcSOAP* call) noexcept override;
  bool isLogonRequired() noexcept override;
  bool getPromptInfo(CqzBuffer* caption, CqzBufferList* names, CqzBufferList* types, CqzBufferList* values,
                     CqzBufferList* options) noexcept override;
  const char* extractRELAYFaultText(const char* text, CqzBuffer* out) noexcept override;
  bool parseRELAYInfoFromRELAYHeaderXml(const char* text, CRpcSOAP* call) noexcept override;
  bool parseSOAPInfoFromQzBodyXml(const char* text, CRpcSOAP* call) noexcept override;
  bool parseDSConnectionInfo(const CqzBuffer* reply, const CqzBuffer* input, CqzBufferList* records) noexcept override;
  bool parseDSCredential(const CqzBuffer* reply, CqzBuffer* user, CqzBuffer* password) noexcept override;
  IXMLDOMNode* getChildNode(IXMLDOMNode* parent, const char* name) noexcept override;

 private:
  qz::rpc::XmlDomState state_;
};

/// What kind of reply a text is: E_OK, E_LOGON or E_FAULT.
long relayFaultError(const char* text);

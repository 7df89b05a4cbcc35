// The flat face's codec behind its interface.
#pragma once

#include "CqzRelayMessage.h"

class CqzRelayMessageImpl final : public CqzRelayMessage {
 public:
  const char* GetDefaultRequestTemplate() noexcept override;
  const char* BuildPlaceHolder(const char* name, CqzBuffer* out) noexcept override;
  const char* BuildNodeXml(const char* name, const char* value, CqzBuffer* out) noexcept override;
  int packOutProxy(const CRpcSOAP* call, CqzBuffer* envelope, CqzBuffer* arguments) noexcept override;
  const char* BuildSOAPEnv(const CRpcSOAP* call, CqzBuffer* out, const char* bodyTemplate,
                           const char* envelopeTemplate) noexcept override;
  const char* BuildSOAPBodyXml(const CRpcSOAP* call, CqzBuffer* out, const char* bodyTemplate) noexcept override;
  bool checkAddCookie(const char* name, const char* value, CqzBuffer* items) noexcept override;
  int buildGenericSOAPEnv(const ITKRTT* token, const char* body, CqzBuffer* out) noexcept override;
  int unpackInProxy(const CqzBuffer* envelope, const CqzBuffer* arguments, CRpcSOAP* call) noexcept override;
  int Extract(const CqzBuffer* envelope, CRpcSOAP* call) noexcept override;
  int ExtractHdrBodyXml(const CqzBuffer* envelope, CqzBuffer* header, CqzBuffer* body) noexcept override;
  int ExtractHdrInfo(const CqzBuffer* envelope, CRpcSOAP* call) noexcept override;
  int ExtractDataMembers(const char* bodyText, CRpcSOAP* call) noexcept override;
  long FindBeginTag(const char* text, long start, const char* name, bool escaped) noexcept override;
  long FindEndTag(const char* text, long start, const char* name, bool escaped) noexcept override;
  const char* ExtractXmlNodeValue(const char* text, const char* name, CqzBuffer* out, bool escaped) noexcept override;
  long ExtractXmlNodeValueLong(const char* text, const char* name, long defaultValue, bool escaped) noexcept override;
  int extractXmlNodeValue(const char* xml, const char* name, char* out, long size) noexcept override;
  int extractXmlNodeValue(const char* xml, const char* name, CqzBuffer* out) noexcept override;
  long extractXmlNodeValueLong(const char* xml, const char* name, long defaultValue, bool escaped) noexcept override;
  int extractXmlNodeValue(IXMLDOMDocument* document, const char* name, CqzBuffer* out) noexcept override;
  long extractXmlNodeValueLong(IXMLDOMDocument* document, const char* name, long defaultValue) noexcept override;
  int extractXmlNodeValueList(IXMLDOMDocument* document, const char* name, CqzBufferList* list) noexcept override;
  int packOutStub(CRpcSOAP* call, CqzBuffer* body, CqzBuffer* arguments) noexcept override;
  int unpackInStub(const char* body, const CqzBuffer* arguments, CRpcSOAP* call) noexcept override;
  int packOutStubTask(const CRpcSOAP* call, CqzBuffer* body) override;
  int buildSoapBodyTask(CqzBuffer* body) noexcept override;
  int buildSoapBodyTaskFault(const CRpcSOAP* call, CqzBuffer* body) noexcept override;
};

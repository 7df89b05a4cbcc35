// Messages as they must stand on the wire, written out for comparison, and replies as a gateway makes them.
#pragma once

#include <string>

namespace qz::test {

inline std::string cookieItem(const std::string& name, const std::string& value) {
  return R"(<item xsi:type="bus:cookieVar"><name xsi:type="xsd:string">)" + name +
         R"(</name><value xsi:type="xsd:string">)" + value + "</value></item>";
}

/// The header of a call that has none of its own.
inline std::string freshHeader(const std::string& passport, const std::string& context, const std::string& count,
                               const std::string& items) {
  return R"(<bus:relayHeader xsi:type="bus:relayHeader"><bus:PRY xsi:type="bus:PRY"><contextID xsi:type="xsd:string">)" +
         context +
         R"(</contextID></bus:PRY><bus:ZOT xsi:type="bus:ZOT"><bus:ZOTPassport xsi:type="bus:ZOTPassport">)"
         R"(<id xsi:type="xs:string">)" +
         passport +
         R"(</id></bus:ZOTPassport></bus:ZOT><bus:hdrSession xsi:type="bus:hdrSession">)"
         R"(<bus:cookieVars xsi:type="SOAP-ENC:Array" SOAP-ENC:arrayType="bus:cookieVar[)" +
         count + R"(]">)" + items + "</bus:cookieVars></bus:hdrSession></bus:relayHeader>";
}

inline std::string requestEnvelope(const std::string& header, const std::string& body) {
  return R"(<?xml version="1.0" encoding="UTF-8"?> <SOAP-ENV:Envelope)"
         R"( xmlns:SOAP-ENV="http://schemas.xmlsoap.org/soap/envelope/")"
         R"( xmlns:SOAP-ENC="http://schemas.xmlsoap.org/soap/encoding/")"
         R"( xmlns:bus="http://schemas.tessel.example/schemas/relay/3/")"
         R"( xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xmlns:xs="http://www.w3.org/2001/XMLSchema")"
         R"( xmlns:xsd="http://www.w3.org/2001/XMLSchema")"
         R"( SOAP-ENV:encodingStyle="http://schemas.xmlsoap.org/soap/encoding/"><SOAP-ENV:Header>)" +
         header + "</SOAP-ENV:Header><SOAP-ENV:Body>" + body + "</SOAP-ENV:Body></SOAP-ENV:Envelope>";
}

/// The fields of an inner body, given as "name=value" in their order.
template <class... Fields>
std::string innerBody(const Fields&... fields) {
  std::string text = "&lt;qzSOAPBody&gt;";
  const auto add = [&](const std::string& field) {
    const auto name = field.substr(0, field.find('='));
    text += "&lt;" + name + "&gt;" + field.substr(name.size() + 1) + "&lt;/" + name + "&gt;";
  };
  (add(fields), ...);
  return text + "&lt;/qzSOAPBody&gt;";
}

inline std::string runRequest(const std::string& inner) {
  return R"(<rns1:runSpecification xmlns:rns1="http://schemas.tessel.example/schemas/reportService/1">)"
         R"(<specification xsi:type="bus:tesselRuntimeServiceSpecification"><bus:data xsi:type="bus:specification">)" +
         inner +
         R"(</bus:data></specification><parameterValues xsi:type="SOAP-ENC:Array")"
         R"( SOAP-ENC:arrayType="bus:parameterValue[]"/><options xsi:type="SOAP-ENC:Array")"
         R"( SOAP-ENC:arrayType="bus:option[]"><item xsi:type="bus:runOptionInt"><value xsi:type="xsd:int">0</value>)"
         R"(<name xsi:type="bus:runOptionEnum">primaryWaitThreshold</name></item><item xsi:type="bus:runOptionInt">)"
         R"(<value xsi:type="xsd:int">0</value><name xsi:type="bus:runOptionEnum">secondaryWaitThreshold</name>)"
         R"(</item></options></rns1:runSpecification>)";
}

inline std::string runReply(const std::string& inner) {
  return R"(<rns1:runSpecificationResponse xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance")"
         R"( xmlns:SOAP-ENC="http://schemas.xmlsoap.org/soap/encoding/")"
         R"( xmlns:bus="http://schemas.tessel.example/schemas/relay/3/")"
         R"( xmlns:rns1="http://schemas.tessel.example/schemas/reportService/1">)"
         R"(<result xsi:type="bus:asynchReply"><details xsi:type="SOAP-ENC:Array")"
         R"( SOAP-ENC:arrayType="bus:asynchDetail[2]"><item xsi:type="bus:asynchDetailUnstructuredData">)"
         R"(<data xsi:type="bus:xmlEncodedXML">)" +
         inner +
         R"(</data></item><item xsi:type="bus:asynchDetailParameterValues"><bus:parameters xsi:type="SOAP-ENC:Array")"
         R"( SOAP-ENC:arrayType="bus:parameterValue[0]"/></item></details><primaryRequest)"
         R"( xsi:type="bus:asynchRequest" xsi:nil="true"/><secondaryRequests xsi:type="SOAP-ENC:Array")"
         R"( SOAP-ENC:arrayType="bus:asynchSecondaryRequest[0]"/><status xsi:type="bus:asynchReplyStatusEnum">)"
         R"(conversationComplete</status></result></rns1:runSpecificationResponse>)";
}

/// A gateway's envelope; its schema host is its own.
inline std::string replyEnvelope(const std::string& header, const std::string& body) {
  return R"(<?xml version="1.0" encoding="UTF-8"?><SOAP-ENV:Envelope)"
         R"( xmlns:SOAP-ENV="http://schemas.xmlsoap.org/soap/envelope/")"
         R"( xmlns:bus="http://schemas.gateway.test/schemas/relay/3/" xmlns:cm="http://schemas.gateway.test/cm")"
         R"( xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance"><SOAP-ENV:Header>)" +
         header + "</SOAP-ENV:Header><SOAP-ENV:Body>" + body + "</SOAP-ENV:Body></SOAP-ENV:Envelope>";
}

/// A fault with this content in its relay header, or without any header.
inline std::string faultEnvelope(const std::string& relayHeader) {
  const std::string fault = "<SOAP-ENV:Fault><faultstring>it broke</faultstring></SOAP-ENV:Fault>";
  if (!relayHeader.empty()) return replyEnvelope("<bus:relayHeader>" + relayHeader + "</bus:relayHeader>", fault);
  auto envelope = replyEnvelope("", fault);
  const std::string header = "<SOAP-ENV:Header></SOAP-ENV:Header>";
  return envelope.erase(envelope.find(header), header.size());
}

}  // namespace qz::test

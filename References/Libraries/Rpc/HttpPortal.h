// The gateway's portal behind HTTP.
#pragma once

#include "References/Libraries/Rpc/DumpFile.h"
#include "References/Libraries/Rpc/PortalLogon.h"

namespace qz::rpc {

/// Makes generic requests to the portal.
class HttpPortal final : public PortalPort {
 public:
  /// @param dumpFile path of a file to whose end everything sent and received is written; null or empty: no dump
  HttpPortal(Journal& journal, const char* dumpFile) : journal_(journal), dump_(dumpFile) {}

  std::optional<PortalReply> request(const std::string& url, const char* verb, const std::string& headers,
                                     std::string_view body, ITKRTT* token) override;

 private:
  Journal& journal_;
  DumpFile dump_;
};

/// All that a face needs for one operation on the portal.
/// @tparam FaceJournal the log of the face
template <class FaceJournal>
struct PortalSession {
  /// @param source source path of the face's class, a literal; null for the others means ""
  PortalSession(const char* source, const char* gatewayUrl, const char* componentId, const char* dumpFile)
      : journal(source), portal(journal, dumpFile), logon(portal, journal, viewOf(gatewayUrl), viewOf(componentId)) {}
  PortalSession(const PortalSession&) = delete;
  PortalSession& operator=(const PortalSession&) = delete;

  FaceJournal journal;
  HttpPortal portal;
  PortalLogon logon;
};

}  // namespace qz::rpc

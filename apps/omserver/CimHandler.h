// The HTTP handler of the daemon's CIM-XML endpoint: POSTs to /cimom go to
// the endpoint, as the user who sent them; other paths are 404.
#ifndef OM_APPS_OMSERVER_CIMHANDLER_H_
#define OM_APPS_OMSERVER_CIMHANDLER_H_

#include "HttpMessage.h"

namespace om::wmi {
class CimXmlEndpoint;
}

namespace omserver {

// `endpoint` must outlive the handler.
HttpHandler cimXmlHandler(om::wmi::CimXmlEndpoint& endpoint);

}  // namespace omserver

#endif  // OM_APPS_OMSERVER_CIMHANDLER_H_

// A record's archive form as bytes (what its Serialize writes to a storing
// archive), and a record read back from them: how the durable stores keep
// records and how they are exported.
#ifndef OM_SERVER_STORE_RECORDBYTES_H_
#define OM_SERVER_STORE_RECORDBYTES_H_

#include <string>
#include <string_view>

#include <afx.h>

namespace om::server {

std::string archiveBytes(const CObject& record);
// False when the bytes are short or damaged; the record is then partly read.
bool readArchiveBytes(std::string_view bytes, CObject& record);

}  // namespace om::server

#endif  // OM_SERVER_STORE_RECORDBYTES_H_

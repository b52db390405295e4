#include "server/store/RecordBytes.h"

namespace om::server {

std::string archiveBytes(const CObject& record) {
  CMemFile memory;
  {
    CArchive out(&memory, CArchive::store);
    // Storing reads the record only; Serialize serves both directions.
    const_cast<CObject&>(record).Serialize(out);
    out.Close();
  }
  std::string bytes(static_cast<size_t>(memory.GetLength()), '\0');
  memory.SeekToBegin();
  memory.Read(bytes.data(), static_cast<UINT>(bytes.size()));
  return bytes;
}

bool readArchiveBytes(std::string_view bytes, CObject& record) {
  // The file only reads the buffer.
  CMemFile memory(reinterpret_cast<BYTE*>(const_cast<char*>(bytes.data())), static_cast<UINT>(bytes.size()));
  try {
    CArchive in(&memory, CArchive::load);
    record.Serialize(in);
    // Bytes left over mean the record was not what the table holds.
    return in.IsBufferEmpty() && memory.GetPosition() == bytes.size();
  } catch (CException* e) {
    e->Delete();
    return false;
  }
}

}  // namespace om::server

// libFuzzer target for received ICMP datagrams: OrvaPing's reading of a
// datagram into a result and a line (as a ping and as a trace route hop,
// plain and decoded) and of the echo header an ICMP error quotes. Every
// datagram gives exactly one result and one line.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "probe/orvaping.h"

namespace {

class Reader : public OrvaPing {
 public:
  using OrvaPing::getReference;
  using OrvaPing::OrvaPing;
  using OrvaPing::stockResult;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // The receive loop hands over whole IPv4 datagrams of at least a header,
  // in its buffer of kBufferSize bytes.
  if (size < 20 || size > static_cast<size_t>(OrvaPing::kBufferSize)) return 0;
  std::vector<char> buffer(OrvaPing::kBufferSize, 0);
  std::memcpy(buffer.data(), data, size);
  const int bytes = static_cast<int>(size);
  for (bool debug : {false, true}) {
    Reader reader(debug);
    for (int hop : {0, 7}) {
      const int type = reader.stockResult(buffer.data(), bytes, hop);
      if (type < -1 || type > 255) std::abort();
    }
    if (reader.getResults().size() != 2 || reader.getLines().size() != 2) std::abort();
  }
  unsigned short id = 0;
  unsigned short sequence = 0;
  Reader::getReference(buffer.data(), bytes, id, sequence);
  return 0;
}

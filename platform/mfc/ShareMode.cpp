#include "ShareMode.h"

#include <fcntl.h>

#include <limits>

namespace om {
namespace {

enum Mark { kReads, kWrites, kDeniesRead, kDeniesWrite };

constexpr off_t kMarkBase = std::numeric_limits<off_t>::max() - 8;

struct flock markRange(Mark mark, short type) {
  struct flock range = {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  range.l_start = kMarkBase + mark;
  range.l_len = 1;
  return range;
}

// True when another open of the file holds `mark`.
bool othersHold(int fd, Mark mark) {
  struct flock range = markRange(mark, F_WRLCK);
  return fcntl(fd, F_OFD_GETLK, &range) == 0 && range.l_type != F_UNLCK;
}

void hold(int fd, Mark mark) {
  struct flock range = markRange(mark, F_RDLCK);
  fcntl(fd, F_OFD_SETLK, &range);  // fails only on a write-only descriptor
}

}  // namespace

// Marks first, then checks: of two opens that conflict and run at the same
// time, at least one sees the other's marks, so both never get in (both may
// be refused). The caller closes a refused descriptor, which drops its marks.
bool acquireShareMode(int fd, const ShareRequest& request) {
  if (request.read) hold(fd, kReads);
  if (request.write) hold(fd, kWrites);
  if (request.denyRead) hold(fd, kDeniesRead);
  if (request.denyWrite) hold(fd, kDeniesWrite);
  return !((request.read && othersHold(fd, kDeniesRead)) || (request.write && othersHold(fd, kDeniesWrite)) ||
           (request.denyRead && othersHold(fd, kReads)) || (request.denyWrite && othersHold(fd, kWrites)));
}

}  // namespace om

// Windows share modes for CFile on POSIX files. Each open marks what it does
// and what it denies with shared open-file-description locks on four bytes far
// past any real data, and is refused when the marks of the other opens
// conflict with it. The marks go away when the descriptor is closed. Internal
// to platform/mfc.
#ifndef OM_PLATFORM_MFC_SHAREMODE_H_
#define OM_PLATFORM_MFC_SHAREMODE_H_

namespace om {

struct ShareRequest {
  bool read = false;  // the access this open asks for
  bool write = false;
  bool denyRead = false;  // what it denies to opens that come later
  bool denyWrite = false;
};

// Marks `request` on `fd` and checks it against the other opens of the file.
// False on a sharing violation; the caller must then close `fd`. A descriptor
// opened write-only cannot carry marks: its open is checked but not marked.
bool acquireShareMode(int fd, const ShareRequest& request);

}  // namespace om

#endif  // OM_PLATFORM_MFC_SHAREMODE_H_

// UniqueFd: owns one file descriptor and closes it when it goes.
#ifndef OM_PLATFORM_OM_UNIQUEFD_H_
#define OM_PLATFORM_OM_UNIQUEFD_H_

#include <unistd.h>

#include <utility>

namespace om {

class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : fd_(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    reset(other.release());
    return *this;
  }
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;
  ~UniqueFd() { reset(); }

  int get() const { return fd_; }
  bool valid() const { return fd_ >= 0; }
  // Gives the descriptor up without closing it.
  int release() { return std::exchange(fd_, -1); }
  void reset(int fd = -1) {
    if (fd_ >= 0) close(fd_);
    fd_ = fd;
  }

 private:
  int fd_ = -1;
};

}  // namespace om

#endif  // OM_PLATFORM_OM_UNIQUEFD_H_

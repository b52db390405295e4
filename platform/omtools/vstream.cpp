#include <omtools/vstream.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <om/codepage.h>

namespace {
// Strings are read in pieces of at most this size, so that a damaged length
// never allocates more than the bytes that actually arrive.
constexpr size_t kReadChunk = 64 * 1024;
}  // namespace

vostream& vostream::write(const void* data, size_t size) {
  if (!failed_ && size > 0 && !doWrite(data, size)) failed_ = true;
  return *this;
}

vostream& vostream::operator<<(const std::string& s) {
  if (s.size() > UINT32_MAX) {
    setFailed();
    return *this;
  }
  *this << static_cast<uint32_t>(s.size());
  return write(s.data(), s.size());
}

vistream& vistream::read(void* data, size_t size) {
  if (failed_) return *this;
  auto* p = static_cast<char*>(data);
  while (size > 0) {
    const size_t n = doRead(p, size);
    if (n == 0) {
      failed_ = true;
      break;
    }
    p += n;
    size -= n;
  }
  return *this;
}

vistream& vistream::operator>>(std::string& s) {
  uint32_t length = 0;
  if (!(*this >> length)) return *this;
  std::string value;
  while (value.size() < length && !failed_) {
    const size_t piece = std::min<size_t>(kReadChunk, length - value.size());
    const size_t at = value.size();
    value.resize(at + piece);
    read(value.data() + at, piece);
  }
  if (!failed_) s = std::move(value);
  return *this;
}

bool vomemstream::doWrite(const void* data, size_t size) {
  bytes_.append(static_cast<const char*>(data), size);
  return true;
}

size_t vimemstream::doRead(void* data, size_t size) {
  const size_t n = std::min(size, bytes_.size() - pos_);
  std::memcpy(data, bytes_.data() + pos_, n);
  pos_ += n;
  return n;
}

vofstream::vofstream(const char* path) : path_(om::fileSystemPath(path == nullptr ? "" : path)) {
  tempPath_ = path_ + ".tmpXXXXXX";
  const int fd = mkstemp(tempPath_.data());
  if (fd >= 0) {
    // mkstemp makes the file private; give it the mode of the file it
    // replaces, or the usual 0644 for a new one.
    struct stat old {};
    fchmod(fd, stat(path_.c_str(), &old) == 0 ? (old.st_mode & 07777) : 0644);
    file_ = fdopen(fd, "wb");
  }
  if (file_ == nullptr) {
    if (fd >= 0) {
      ::close(fd);
      unlink(tempPath_.c_str());
    }
    setFailed();
  }
}

vofstream::~vofstream() { discard(); }

bool vofstream::doWrite(const void* data, size_t size) {
  return file_ != nullptr && fwrite(data, 1, size, file_) == size;
}

bool vofstream::close() {
  if (file_ == nullptr) return false;
  bool ok = good() && fflush(file_) == 0 && fsync(fileno(file_)) == 0;
  ok = fclose(file_) == 0 && ok;
  file_ = nullptr;
  if (ok && rename(tempPath_.c_str(), path_.c_str()) == 0) return true;
  unlink(tempPath_.c_str());
  setFailed();
  return false;
}

void vofstream::discard() {
  if (file_ == nullptr) return;
  fclose(file_);
  file_ = nullptr;
  unlink(tempPath_.c_str());
}

vifstream::vifstream(const char* path) {
  file_ = path == nullptr ? nullptr : fopen(om::fileSystemPath(path).c_str(), "rb");
  if (file_ == nullptr) setFailed();
}

vifstream::~vifstream() {
  if (file_ != nullptr) fclose(file_);
}

size_t vifstream::doRead(void* data, size_t size) {
  return file_ == nullptr ? 0 : fread(data, 1, size, file_);
}

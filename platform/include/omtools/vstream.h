// vostream and vistream: the helper library's binary streams.
//
// Integers are written little-endian with the width of their C++ type
// (bool and char 1 byte, short 2, int 4, long and long long 8); code that
// stores data uses fixed-width types. A string is its byte count as an
// unsigned 32-bit value followed by the bytes.
//
// A stream that fails stays failed: further writes are dropped, further reads
// fail and leave their target unchanged. Reading past the end, or a string
// longer than what is left, fails the stream; nothing is allocated beyond the
// bytes actually read.
#ifndef OM_PLATFORM_OMTOOLS_VSTREAM_H_
#define OM_PLATFORM_OMTOOLS_VSTREAM_H_

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <type_traits>

class vostream {
 public:
  virtual ~vostream() = default;

  bool good() const { return !failed_; }
  bool fail() const { return failed_; }
  explicit operator bool() const { return !failed_; }

  vostream& write(const void* data, size_t size);

  template <class T, std::enable_if_t<std::is_integral_v<T>, int> = 0>
  vostream& operator<<(T value) {
    unsigned char bytes[sizeof(T)];
    using U = std::make_unsigned_t<std::conditional_t<std::is_same_v<T, bool>, unsigned char, T>>;
    U u = static_cast<U>(value);
    for (size_t i = 0; i < sizeof(T); ++i) bytes[i] = static_cast<unsigned char>(u >> (8 * i) & 0xFF);
    return write(bytes, sizeof(T));
  }
  vostream& operator<<(const std::string& s);
  vostream& operator<<(const char* s) { return *this << std::string(s == nullptr ? "" : s); }

 protected:
  // Writes all of `data`; false on failure.
  virtual bool doWrite(const void* data, size_t size) = 0;
  void setFailed() { failed_ = true; }

 private:
  bool failed_ = false;
};

class vistream {
 public:
  virtual ~vistream() = default;

  bool good() const { return !failed_; }
  bool fail() const { return failed_; }
  explicit operator bool() const { return !failed_; }

  // Reads exactly `size` bytes; on a short read the stream fails.
  vistream& read(void* data, size_t size);

  template <class T, std::enable_if_t<std::is_integral_v<T>, int> = 0>
  vistream& operator>>(T& value) {
    unsigned char bytes[sizeof(T)];
    if (!read(bytes, sizeof(T))) return *this;
    using U = std::make_unsigned_t<std::conditional_t<std::is_same_v<T, bool>, unsigned char, T>>;
    U u = 0;
    for (size_t i = 0; i < sizeof(T); ++i) u |= static_cast<U>(static_cast<U>(bytes[i]) << (8 * i));
    if constexpr (std::is_same_v<T, bool>) {
      value = u != 0;
    } else {
      value = static_cast<T>(u);
    }
    return *this;
  }
  vistream& operator>>(std::string& s);

 protected:
  // Reads up to `size` bytes; returns how many were read (0 at the end).
  virtual size_t doRead(void* data, size_t size) = 0;
  void setFailed() { failed_ = true; }

 private:
  bool failed_ = false;
};

// Output into memory.
class vomemstream : public vostream {
 public:
  const std::string& str() const { return bytes_; }

 protected:
  bool doWrite(const void* data, size_t size) override;

 private:
  std::string bytes_;
};

// Input from memory (the stream keeps its own copy of the bytes).
class vimemstream : public vistream {
 public:
  explicit vimemstream(std::string bytes) : bytes_(std::move(bytes)) {}
  size_t remaining() const { return bytes_.size() - pos_; }

 protected:
  size_t doRead(void* data, size_t size) override;

 private:
  std::string bytes_;
  size_t pos_ = 0;
};

// Output to a file, replaced atomically: the bytes go to a temporary file in
// the same directory, which close() flushes, syncs and renames over `path`.
// A stream destroyed without a successful close() leaves the old file alone.
class vofstream : public vostream {
 public:
  explicit vofstream(const char* path);
  ~vofstream() override;
  vofstream(const vofstream&) = delete;
  vofstream& operator=(const vofstream&) = delete;

  bool is_open() const { return file_ != nullptr; }
  // Commits the file; false (and the old file kept) when anything failed.
  bool close();

 protected:
  bool doWrite(const void* data, size_t size) override;

 private:
  void discard();

  std::string path_;
  std::string tempPath_;
  FILE* file_ = nullptr;
};

// Input from a file.
class vifstream : public vistream {
 public:
  explicit vifstream(const char* path);
  ~vifstream() override;
  vifstream(const vifstream&) = delete;
  vifstream& operator=(const vifstream&) = delete;

  bool is_open() const { return file_ != nullptr; }

 protected:
  size_t doRead(void* data, size_t size) override;

 private:
  FILE* file_ = nullptr;
};

#endif  // OM_PLATFORM_OMTOOLS_VSTREAM_H_

// auto_ptrex: the owning pointer that holds the library's singletons. It
// deletes its object when it is destroyed (for a static one, when the
// library is unloaded). Unlike the old auto_ptr it cannot be copied.
// It lives in namespace std, where the helper library has always put it.
#ifndef OM_PLATFORM_OMTOOLS_AUTO_PTREX_H_
#define OM_PLATFORM_OMTOOLS_AUTO_PTREX_H_

namespace std {  // NOLINT(cert-dcl58-cpp)

template <class T>
class auto_ptrex {
 public:
  explicit auto_ptrex(T* p = nullptr) : p_(p) {}
  ~auto_ptrex() { delete p_; }
  auto_ptrex(const auto_ptrex&) = delete;
  auto_ptrex& operator=(const auto_ptrex&) = delete;

  T* get() const { return p_; }
  T& operator*() const { return *p_; }
  T* operator->() const { return p_; }
  // Gives up ownership without deleting.
  T* release() {
    T* p = p_;
    p_ = nullptr;
    return p;
  }
  // Deletes the object held and takes `p`.
  void reset(T* p = nullptr) {
    if (p != p_) {
      delete p_;
      p_ = p;
    }
  }

 private:
  T* p_;
};

}  // namespace std

#endif  // OM_PLATFORM_OMTOOLS_AUTO_PTREX_H_

// Persistable: base of the value classes that save themselves to a vostream
// and restore from a vistream.
//
// Envelope written by save(): the class id as an unsigned 32-bit value, then
// the object's own contents (saveContents). restore() reads the class id and
// checks it against the object, or, into a null pointer, creates the object
// of that class through ClassFactory, and then reads the contents.
#ifndef OM_PLATFORM_OMTOOLS_PERSISTABLE_H_
#define OM_PLATFORM_OMTOOLS_PERSISTABLE_H_

#include <cstdint>

#include <omtools/vstream.h>

class Persistable {
 public:
  virtual ~Persistable() = default;

  // The persistent class id; isA() answers the same.
  virtual uint32_t getClassId() const = 0;
  virtual uint32_t isA() const { return getClassId(); }

  virtual void saveContents(vostream& out) const = 0;
  virtual void restoreContents(vistream& in) = 0;

  void save(vostream& out) const;

  // Restores into this object; false when the stream fails or holds another
  // class.
  bool restore(vistream& in);

  // Restores into `object`. A null `object` receives a new object (owned by
  // the caller) of the stored class; on failure it is deleted and `object`
  // is null again. A non-null `object` must be of the stored class.
  static bool restore(vistream& in, Persistable*& object);

  // The typed form of the above: fails when the stored class is not a T.
  template <class T>
  static bool restoreAs(vistream& in, T*& object) {
    Persistable* p = object;
    if (!restore(in, p)) return false;
    T* typed = dynamic_cast<T*>(p);
    if (typed == nullptr) {
      if (object == nullptr) delete p;
      return false;
    }
    object = typed;
    return true;
  }
};

#endif  // OM_PLATFORM_OMTOOLS_PERSISTABLE_H_

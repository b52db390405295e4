// The stream operators that every persistent value class of core offers,
// written once: save through Persistable::save, restore through
// Persistable::restore.
#ifndef OMLIB_CORE_PERSISTSTREAM_H_
#define OMLIB_CORE_PERSISTSTREAM_H_

#include <omtools/Persistable.h>

namespace om {

inline vostream& saveObject(vostream& out, const Persistable* object) {
  if (object != nullptr) object->save(out);
  return out;
}

// Restores into `object` itself.
inline vistream& restoreObject(vistream& in, Persistable& object) {
  object.restore(in);
  return in;
}

// Restores into a fresh object of class T (owned by the caller) and hands it
// back in `object`; null when the stream fails or holds another class.
template <class T>
vistream& restoreNewObject(vistream& in, T*& object) {
  T* restored = nullptr;
  Persistable::restoreAs(in, restored);
  object = restored;
  return in;
}

}  // namespace om

#endif  // OMLIB_CORE_PERSISTSTREAM_H_

#include <omtools/Persistable.h>

#include <omtools/ClassFactory.h>

void Persistable::save(vostream& out) const {
  out << getClassId();
  saveContents(out);
}

bool Persistable::restore(vistream& in) {
  uint32_t id = 0;
  if (!(in >> id) || id != getClassId()) return false;
  restoreContents(in);
  return in.good();
}

bool Persistable::restore(vistream& in, Persistable*& object) {
  if (object != nullptr) return object->restore(in);
  uint32_t id = 0;
  if (!(in >> id)) return false;
  Persistable* created = ClassFactory::instance().create(id);
  if (created == nullptr) return false;
  created->restoreContents(in);
  if (!in.good()) {
    delete created;
    return false;
  }
  object = created;
  return true;
}

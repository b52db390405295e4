// A program that links omlib_core but names none of its value classes: their
// ClassFactory registrations are there all the same, and a stream is
// restored by its class id alone.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include <omtools/ClassFactory.h>
#include <omtools/Persistable.h>
#include <omtools/vstream.h>

namespace {

TEST(CoreClasses, RegisteredInAProgramThatNamesNone) {
  for (uint32_t id : {113u, 114u, 1128u, 1674u}) EXPECT_TRUE(ClassFactory::instance().isRegistered(id)) << id;
  // A MAC address (class 113) and an IPv4 address (class 114) as stored.
  const std::string stored[] = {std::string("\x71\x00\x00\x00\x00\x1B\x2C\x3D\x4E\xF5", 10),
                                std::string("\x72\x00\x00\x00\xC0\xA8\x01\x14", 8)};
  for (const std::string& bytes : stored) {
    vimemstream in(bytes);
    Persistable* object = nullptr;
    ASSERT_TRUE(Persistable::restore(in, object));
    const std::unique_ptr<Persistable> owned(object);
    vomemstream out;
    owned->save(out);
    EXPECT_EQ(out.str(), bytes);
  }
}

}  // namespace

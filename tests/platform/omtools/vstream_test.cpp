#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include <omtools/ClassFactory.h>
#include <omtools/Persistable.h>
#include <omtools/tstring.h>

namespace {

// A small persistable class for the tests, id 9001.
class Sample : public Persistable {
 public:
  uint32_t getClassId() const override { return 9001; }
  void saveContents(vostream& out) const override { out << number << static_cast<const std::string&>(name); }
  void restoreContents(vistream& in) override { in >> number >> static_cast<std::string&>(name); }

  uint16_t number = 0;
  tstring name;
};

// Another class, id 9002, to check class mismatches.
class Other : public Persistable {
 public:
  uint32_t getClassId() const override { return 9002; }
  void saveContents(vostream& out) const override { out << flag; }
  void restoreContents(vistream& in) override { in >> flag; }
  bool flag = false;
};

const ClassRegistrar<Sample> kSample(9001);
const ClassRegistrar<Other> kOther(9002);

std::string savedSample() {
  Sample s;
  s.number = 0x1234;
  s.name = "ab";
  vomemstream out;
  s.save(out);
  return out.str();
}

TEST(Streams, LittleEndianWidths) {
  vomemstream out;
  out << uint8_t{0x01} << int16_t{-2} << uint32_t{0x0A0B0C0D} << int64_t{-1} << true << std::string("hi");
  const std::string expected("\x01\xFE\xFF\x0D\x0C\x0B\x0A\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x01\x02\x00\x00\x00hi", 22);
  EXPECT_EQ(out.str(), expected);

  vimemstream in(expected);
  uint8_t a = 0;
  int16_t b = 0;
  uint32_t c = 0;
  int64_t d = 0;
  bool e = false;
  std::string f;
  EXPECT_TRUE(in >> a >> b >> c >> d >> e >> f);
  EXPECT_EQ(a, 1);
  EXPECT_EQ(b, -2);
  EXPECT_EQ(c, 0x0A0B0C0Du);
  EXPECT_EQ(d, -1);
  EXPECT_TRUE(e);
  EXPECT_EQ(f, "hi");
}

TEST(Streams, RunningOutFailsCleanly) {
  vimemstream in(std::string("\x01\x02\x03", 3));
  uint32_t v = 77;
  EXPECT_FALSE(in >> v);
  EXPECT_EQ(v, 77u);
  uint8_t b = 0;
  EXPECT_FALSE(in >> b);  // a failed stream stays failed

  // A string whose length claims 4 GiB: fails without allocating it.
  vimemstream huge(std::string("\xFF\xFF\xFF\xFFxyz", 7));
  std::string s = "old";
  EXPECT_FALSE(huge >> s);
  EXPECT_EQ(s, "old");
}

TEST(Persistable, EnvelopeIsClassIdThenContents) {
  EXPECT_EQ(savedSample(), std::string("\x29\x23\x00\x00\x34\x12\x02\x00\x00\x00" "ab", 12));
}

TEST(Persistable, RestoreThroughClassFactory) {
  vimemstream in(savedSample());
  Persistable* p = nullptr;
  ASSERT_TRUE(Persistable::restore(in, p));
  auto* s = dynamic_cast<Sample*>(p);
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(s->number, 0x1234);
  EXPECT_EQ(s->name, "ab");
  delete p;

  // Into an existing object of the same class.
  vimemstream again(savedSample());
  Sample into;
  EXPECT_TRUE(into.restore(again));
  EXPECT_EQ(into.name, "ab");

  // Typed restore refuses another class.
  vimemstream third(savedSample());
  Other* other = nullptr;
  EXPECT_FALSE(Persistable::restoreAs(third, other));
  EXPECT_EQ(other, nullptr);
  vimemstream fourth(savedSample());
  Other existing;
  EXPECT_FALSE(existing.restore(fourth));
}

TEST(Persistable, TruncatedOrUnknownInputFails) {
  const std::string bytes = savedSample();
  for (size_t cut = 0; cut < bytes.size(); ++cut) {
    vimemstream in(bytes.substr(0, cut));
    Persistable* p = nullptr;
    EXPECT_FALSE(Persistable::restore(in, p)) << cut;
    EXPECT_EQ(p, nullptr);
  }
  vimemstream unknown(std::string("\x01\x00\x01\x00", 4));
  Persistable* p = nullptr;
  EXPECT_FALSE(Persistable::restore(unknown, p));
  EXPECT_FALSE(ClassFactory::instance().registerCreator(9001, [] { return static_cast<Persistable*>(nullptr); }));
}

TEST(FileStreams, ReplaceAtomicallyOnClose) {
  char dir[] = "/tmp/omtools-XXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  const std::string path = std::string(dir) + "/data.bin";
  {
    vofstream out(path.c_str());
    ASSERT_TRUE(out.is_open());
    out << uint32_t{1};
    EXPECT_TRUE(out.close());
  }
  {
    // Abandoned before close: the old file stays as it was.
    vofstream out(path.c_str());
    out << uint32_t{2};
  }
  vifstream in(path.c_str());
  uint32_t v = 0;
  EXPECT_TRUE(in >> v);
  EXPECT_EQ(v, 1u);
  EXPECT_FALSE(in >> v);
  EXPECT_FALSE(vifstream((std::string(dir) + "/missing").c_str()).good());
  EXPECT_FALSE(vofstream("/nonexistent-dir/x").good());
  unlink(path.c_str());
  rmdir(dir);
}

}  // namespace

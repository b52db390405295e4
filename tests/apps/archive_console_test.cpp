#include <gtest/gtest.h>

#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include <afx.h>

#include "ConsoleRunner.h"
#include "model/SerializableSubnet.h"
#include "monitor/log.h"

namespace {

class ArchiveConsoleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char dir[] = "/tmp/omlib-archive-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    dir_ = dir;
    setenv("OMLIB_HOME", dir, 1);
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }

  // Writes two log objects and a subnet, through CObject pointers or (direct)
  // serialised one after another; the same log object is written twice.
  std::string writeFile(const char* name, bool direct) {
    const std::string path = dir_ + "/" + name;
    CLogObject first;
    first.setIdentifier(7);
    first.setMessage("link down");
    CLogObject second;
    second.setIdentifier(8);
    second.setMessage("\x95\x5C");  // "表": a double-byte message
    CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite);
    CArchive ar(&file, CArchive::store);
    if (direct) {
      first.Serialize(ar);
      second.Serialize(ar);
    } else {
      SerializableSubnet subnet("lan", "10.0.0.0", "255.0.0.0");
      ar << &first << &second << &first << &subnet;
    }
    ar.Close();
    return path;
  }

  std::string dir_;
};

TEST_F(ArchiveConsoleTest, DumpsTaggedRecordsAndVerifiesThem) {
  const std::string path = writeFile("tagged.bin", false);
  std::string out;
  ASSERT_EQ(console("archive dump " + path, &out), 0);
  EXPECT_NE(out.find("@0 CLogObject\n  identifier = 7\n"), std::string::npos) << out;
  EXPECT_NE(out.find("message = 表\n"), std::string::npos) << out;
  EXPECT_NE(out.find(" SerializableSubnet\n  name = lan\n"), std::string::npos) << out;
  ASSERT_EQ(console("archive verify " + path, &out), 0);
  EXPECT_NE(out.find("4 records; written again they are identical"), std::string::npos) << out;
  ASSERT_EQ(console("archive dump --json " + path, &out), 0);
  EXPECT_NE(out.find("\"class\": \"CLogObject\", \"fields\": {\"identifier\": \"7\""), std::string::npos) << out;
  EXPECT_NE(out.find("\"stopped\": null"), std::string::npos);
}

TEST_F(ArchiveConsoleTest, DirectRecordsNeedTheirClass) {
  const std::string path = writeFile("direct.bin", true);
  std::string out, err;
  ASSERT_EQ(console("archive dump " + path + " --class CLogObject", &out), 0);
  EXPECT_NE(out.find("identifier = 8"), std::string::npos) << out;
  ASSERT_EQ(console("archive verify " + path + " --class CLogObject", &out), 0);
  EXPECT_EQ(console("archive dump " + path + " --class NoSuchClass", &out), 2);
  // Without the class the bytes do not start with a class tag.
  EXPECT_EQ(console("archive dump " + path, &out, &err), 1);
  EXPECT_NE(err.find("record 1 at byte 0"), std::string::npos) << err;
}

TEST_F(ArchiveConsoleTest, DamagedFilePrintsWhatWasReadAndWhereItStopped) {
  const std::string path = writeFile("cut.bin", false);
  const auto size = std::filesystem::file_size(path);
  std::string whole;
  ASSERT_EQ(console("archive dump " + path, &whole), 0);
  const auto second = whole.find("@", 1);
  const std::string offset = whole.substr(second + 1, whole.find(' ', second) - second - 1);
  std::filesystem::resize_file(path, std::stoul(offset) + 5);  // inside the second record
  std::string out, err;
  EXPECT_EQ(console("archive dump " + path, &out, &err), 1);
  EXPECT_EQ(out, whole.substr(0, second));
  EXPECT_NE(err.find("reading stopped: record 2 at byte " + offset + ": end of file (cause 3)"), std::string::npos)
      << err;
  EXPECT_EQ(console("archive verify " + path, &out), 1);
  EXPECT_LT(std::stoul(offset) + 5, size);
  EXPECT_EQ(console("archive dump " + dir_ + "/missing.bin", &out), 1);
}

}  // namespace

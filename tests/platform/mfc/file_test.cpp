#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "ArchiveTestUtil.h"
#include "TestObjects.h"

namespace {

using mfctest::Bytes;
using mfctest::bytesOf;
using mfctest::causeOf;

// A fresh directory under the system's temporary directory, removed at the end.
class TempDir : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (std::filesystem::temp_directory_path() / "om_mfc_XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    dir_ = pattern;
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }

  std::string path(const char* name) const { return (dir_ / name).string(); }

  static std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }

  std::filesystem::path dir_;
};

using FileTest = TempDir;

TEST_F(FileTest, ArchiveRoundTripThroughAFileOnDisk) {
  const std::string name = path("objects.dat");
  CTestRecord record(42, "\x83\x65\x83\x58\x83\x67");  // "テスト"
  CTestHolder holder;
  holder.m_child = new CTestRecord(7, "child");
  holder.m_peer = &record;
  {
    CFile file(name.c_str(), CFile::modeCreate | CFile::modeWrite);
    CArchive ar(&file, CArchive::store);
    EXPECT_EQ(ar.m_strFileName, name.c_str());
    ar << &record << &holder << CString(std::string(5000, 'L').c_str()) << CTime(1700000000);
    ar.Close();
    file.Close();
  }
  {
    CFile file(name.c_str(), CFile::modeRead | CFile::shareDenyWrite);
    EXPECT_EQ(file.GetLength(), static_cast<ULONGLONG>(std::filesystem::file_size(name)));
    CArchive ar(&file, CArchive::load);
    CObject* first = nullptr;
    CTestHolder* second = nullptr;
    CString text;
    CTime when;
    ar >> first >> second >> text >> when;
    std::unique_ptr<CObject> ownFirst(first), ownSecond(second);
    auto* loaded = dynamic_cast<CTestRecord*>(first);
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->m_id, 42);
    EXPECT_EQ(loaded->m_name, "\x83\x65\x83\x58\x83\x67");
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->m_peer, first);
    EXPECT_EQ(static_cast<CTestRecord*>(second->m_child)->m_name, "child");
    EXPECT_EQ(text.GetLength(), 5000);
    EXPECT_EQ(when.GetTime(), 1700000000);
    BYTE extra = 0;
    try {
      ar >> extra;
      ADD_FAILURE() << "read past the end";
    } catch (CArchiveException* e) {
      EXPECT_EQ(e->m_cause, CArchiveException::endOfFile);
      EXPECT_EQ(e->m_strFileName, name.c_str());
      EXPECT_TRUE(e->IsKindOf(RUNTIME_CLASS(CException)));
      char message[512];
      ASSERT_TRUE(e->GetErrorMessage(message, sizeof message));
      EXPECT_NE(std::string(message).find("end of file"), std::string::npos) << message;
      EXPECT_NE(std::string(message).find(name), std::string::npos) << message;
      char shortMessage[8];
      ASSERT_TRUE(e->GetErrorMessage(shortMessage, sizeof shortMessage));
      EXPECT_EQ(std::strlen(shortMessage), 7u);
      e->Delete();
    }
  }
}

TEST_F(FileTest, ReadsTextFileLineByLineThroughABufferedArchive) {
  const std::string name = path("SubtypeInfo.ini");
  std::string text = "; comment\r\n1, 2, LinkDown\r\n\r\n";
  for (int i = 0; i < 500; ++i) text += std::to_string(i) + " 3 Name" + std::to_string(i) + "\n";
  text += "last line";
  std::ofstream(name, std::ios::binary) << text;

  CFile file;
  ASSERT_TRUE(file.Open(name.c_str(), CFile::modeRead | CFile::shareDenyWrite));
  CArchive ar(&file, CArchive::load, 4096);
  CString line;
  std::vector<std::string> lines;
  while (ar.ReadString(line)) lines.push_back(line.GetString());
  ASSERT_EQ(lines.size(), 504u);
  EXPECT_EQ(lines[0], "; comment");
  EXPECT_EQ(lines[1], "1, 2, LinkDown");
  EXPECT_EQ(lines[2], "");
  EXPECT_EQ(lines[3], "0 3 Name0");
  EXPECT_EQ(lines[502], "499 3 Name499");
  EXPECT_EQ(lines[503], "last line");
}

TEST_F(FileTest, OpenErrorsAndFileOperations) {
  CFileException error;
  CFile file;
  EXPECT_FALSE(file.Open(path("missing").c_str(), CFile::modeRead, &error));
  EXPECT_EQ(error.m_cause, CFileException::fileNotFound);
  EXPECT_EQ(error.m_lOsError, ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(error.m_strFileName, path("missing").c_str());
  EXPECT_FALSE(file.Open(path("no/such/dir/file").c_str(), CFile::modeCreate | CFile::modeWrite, &error));
  EXPECT_EQ(error.m_cause, CFileException::badPath);
  EXPECT_EQ(error.m_lOsError, ERROR_PATH_NOT_FOUND);
  EXPECT_FALSE(file.Open(dir_.c_str(), CFile::modeRead, &error));
  EXPECT_EQ(error.m_cause, CFileException::accessDenied);
  EXPECT_EQ(causeOf<CFileException>([&] { CFile f(path("missing").c_str(), CFile::modeRead); }),
            CFileException::fileNotFound);

  const std::string name = path("data.bin");
  ASSERT_TRUE(file.Open(name.c_str(), CFile::modeCreate | CFile::modeReadWrite));
  EXPECT_EQ(file.GetFilePath(), name.c_str());
  EXPECT_EQ(file.GetFileName(), "data.bin");
  file.Write("0123456789", 10);
  EXPECT_EQ(file.GetPosition(), 10u);
  EXPECT_EQ(file.Seek(-4, CFile::end), 6u);
  char buffer[8] = {};
  EXPECT_EQ(file.Read(buffer, 8), 4u);
  EXPECT_STREQ(buffer, "6789");
  EXPECT_EQ(causeOf<CFileException>([&] { file.Seek(-1, CFile::begin); }), CFileException::badSeek);
  file.SetLength(3);
  EXPECT_EQ(file.GetLength(), 3u);
  file.SeekToBegin();
  file.Flush();
  file.Close();
  EXPECT_FALSE(file.IsOpen());
  EXPECT_EQ(slurp(name), "012");

  // modeNoTruncate keeps the contents; a read-only file refuses writes.
  ASSERT_TRUE(file.Open(name.c_str(), CFile::modeCreate | CFile::modeNoTruncate | CFile::modeWrite));
  EXPECT_EQ(file.SeekToEnd(), 3u);
  EXPECT_EQ(causeOf<CFileException>([&] { file.Read(buffer, 1); }), CFileException::accessDenied);
  file.Close();
  ASSERT_TRUE(file.Open(name.c_str(), CFile::modeRead));
  EXPECT_EQ(causeOf<CFileException>([&] { file.Write("x", 1); }), CFileException::accessDenied);
  file.Close();

  CFile::Rename(name.c_str(), path("renamed.bin").c_str());
  EXPECT_EQ(slurp(path("renamed.bin")), "012");
  CFile::Remove(path("renamed.bin").c_str());
  EXPECT_EQ(causeOf<CFileException>([&] { CFile::Remove(path("renamed.bin").c_str()); }),
            CFileException::fileNotFound);
}

TEST_F(FileTest, ShareModesBetweenOpens) {
  const std::string name = path("shared.txt");
  std::ofstream(name) << "keep me";
  const char* n = name.c_str();
  const auto opens = [n](UINT flags) {
    CFile f;
    CFileException error;
    const BOOL ok = f.Open(n, flags, &error);
    EXPECT_TRUE(ok || error.m_cause == CFileException::sharingViolation) << error.m_cause;
    return ok;
  };

  CFile reader;
  ASSERT_TRUE(reader.Open(n, CFile::modeRead | CFile::shareDenyWrite));
  EXPECT_TRUE(opens(CFile::modeRead | CFile::shareDenyWrite));
  EXPECT_TRUE(opens(CFile::modeRead | CFile::shareDenyNone));
  EXPECT_FALSE(opens(CFile::modeWrite | CFile::shareDenyNone));
  EXPECT_FALSE(opens(CFile::modeReadWrite | CFile::shareDenyNone));
  EXPECT_FALSE(opens(CFile::modeRead | CFile::shareExclusive));
  EXPECT_FALSE(opens(CFile::modeRead));  // shareCompat is exclusive
  EXPECT_FALSE(opens(CFile::modeRead | CFile::shareDenyRead));
  // A refused open that would have truncated leaves the file alone.
  EXPECT_FALSE(opens(CFile::modeCreate | CFile::modeWrite | CFile::shareDenyNone));
  EXPECT_EQ(slurp(name), "keep me");

  // Another process is held off the same way.
  const pid_t child = fork();
  if (child == 0) {
    CFile f;
    const bool writeRefused = !f.Open(n, CFile::modeWrite | CFile::shareDenyNone);
    const bool readAllowed = f.Open(n, CFile::modeRead | CFile::shareDenyNone);
    _exit(writeRefused && readAllowed ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);

  reader.Close();
  EXPECT_TRUE(opens(CFile::modeWrite | CFile::shareDenyNone));

  CFile writer;
  ASSERT_TRUE(writer.Open(n, CFile::modeWrite | CFile::shareDenyNone));
  EXPECT_FALSE(opens(CFile::modeRead | CFile::shareDenyWrite));  // would deny a write in progress
  EXPECT_TRUE(opens(CFile::modeRead | CFile::shareDenyNone));
  EXPECT_TRUE(opens(CFile::modeWrite | CFile::shareDenyRead));
}

TEST(MemFile, GrowsSeeksAndTruncates) {
  CMemFile file(16);
  Bytes data(3000);
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<BYTE>(i * 7);
  file.Write(data.data(), 3000);
  EXPECT_EQ(file.GetLength(), 3000u);
  EXPECT_EQ(mfctest::contents(file), data);

  EXPECT_EQ(file.Seek(10, CFile::end), 3010u);
  file.Write("z", 1);  // past the end: the gap reads as zeros
  EXPECT_EQ(file.GetLength(), 3011u);
  Bytes tail(11);
  file.Seek(3000, CFile::begin);
  EXPECT_EQ(file.Read(tail.data(), 100), 11u);
  EXPECT_EQ(tail, bytesOf({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 'z'}));
  EXPECT_EQ(causeOf<CFileException>([&] { file.Seek(-1, CFile::begin); }), CFileException::badSeek);

  file.SetLength(5);
  EXPECT_EQ(file.GetPosition(), 5u);
  EXPECT_EQ(mfctest::contents(file), Bytes(data.begin(), data.begin() + 5));

  const UINT length = static_cast<UINT>(file.GetLength());
  BYTE* detached = file.Detach();
  EXPECT_EQ(file.GetLength(), 0u);
  EXPECT_EQ(Bytes(detached, detached + length), Bytes(data.begin(), data.begin() + 5));
  std::free(detached);
}

TEST(MemFile, AttachedBuffer) {
  BYTE buffer[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  {
    CMemFile fixed(buffer, sizeof buffer);  // cannot grow: holds the 8 bytes
    EXPECT_EQ(fixed.GetLength(), 8u);
    fixed.Seek(6, CFile::begin);
    fixed.Write("\x09", 1);
    EXPECT_EQ(buffer[6], 9);
    bool thrown = false;
    try {
      fixed.Write("ab", 2);
    } catch (CMemoryException* e) {
      thrown = true;
      e->Delete();
    }
    EXPECT_TRUE(thrown);
  }
  EXPECT_EQ(buffer[7], 8);  // not freed, not changed by the refused write

  CMemFile growing(buffer, sizeof buffer, 64);  // starts empty, moves out when it grows
  EXPECT_EQ(growing.GetLength(), 0u);
  growing.Write("abcd", 4);
  EXPECT_EQ(buffer[0], 'a');
  Bytes big(100, 'x');
  growing.Write(big.data(), 100);
  EXPECT_EQ(growing.GetLength(), 104u);
  EXPECT_EQ(buffer[4], 5);  // the caller's buffer is left as it is
  EXPECT_EQ(mfctest::contents(growing)[3], 'd');
}

}  // namespace

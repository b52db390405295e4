// The console's subtypes command, run as the built program.
#include <gtest/gtest.h>

#include <fstream>

#include "RegistryTestSupport.h"

namespace {

struct ConsoleRun {
  int status;
  std::string out;
  std::string err;
};

ConsoleRun console(std::vector<std::string> args) {
  args.insert(args.begin(), OM_CONSOLE);
  regtest::Child child(args);
  const int status = child.wait();
  return ConsoleRun{status, child.output(), child.errors()};
}

class SubtypesConsole : public regtest::RegistryTest {
 protected:
  // A subtype file in code page 932 holding "リンクダウン" and "表".
  std::string writeFile() {
    const std::string path = (home_ / "SubtypeInfo.ini").string();
    std::ofstream(path, std::ios::binary)
        << "; table\r\n8, 3, \x83\x8A\x83\x93\x83\x4E\x83\x5F\x83\x45\x83\x93, \x95\x5C, \"port down\"\r\n"
        << "9 3 LinkUp Link up\r\n7 2\r\n";
    return path;
  }
};

const char kListing[] = "8(3), リンクダウン(表), port\n9(3), LinkUp(Link), up\n";

TEST_F(SubtypesConsole, ListsTheGivenFileInUtf8) {
  const ConsoleRun run = console({"subtypes", writeFile()});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, kListing);
  EXPECT_EQ(run.err, "");
}

TEST_F(SubtypesConsole, FallsBackToTheConfiguredFile) {
  // No key yet: the setting is not set.
  ConsoleRun run = console({"subtypes"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "omconsole: no FILE given and the setting SubtypeInformationFile is not set\n");

  ASSERT_EQ(console({"config", "reset"}).status, 0);
  ASSERT_EQ(console({"config", "set", "SubtypeInformationFile", writeFile()}).status, 0);
  run = console({"subtypes"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, kListing);
}

TEST_F(SubtypesConsole, MissingFileIsAOneLineError) {
  const std::string missing = (home_ / "none.ini").string();
  const ConsoleRun run = console({"subtypes", missing});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "omconsole: cannot read the subtype file '" + missing + "'\n");
  EXPECT_EQ(console({"subtypes", "a", "b"}).status, 2);
}

}  // namespace

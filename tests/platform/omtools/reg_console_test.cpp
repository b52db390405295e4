// The console's reg command, run as the built program.
#include <gtest/gtest.h>

#include <fstream>

#include <om/codepage.h>
#include <omtools/Registry.h>

#include "RegistryTestSupport.h"

namespace {

const char kProduct[] = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmoran\\OrvaManager";

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

// A failure: exit status `status` and one line "omconsole: ..." containing `text`.
void expectFailure(const ConsoleRun& run, int status, const std::string& text) {
  EXPECT_EQ(run.status, status) << run.err;
  EXPECT_EQ(run.err.rfind("omconsole: ", 0), 0u) << run.err;
  EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << run.err;
  EXPECT_NE(run.err.find(text), std::string::npos) << run.err;
  EXPECT_EQ(run.out, "");
}

std::string readFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

class RegConsole : public regtest::RegistryTest {};

TEST_F(RegConsole, SetGetListDelete) {
  ConsoleRun run = console({"help"});
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.out.find("registry: HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmoran\\OrvaManager does not exist yet"),
            std::string::npos)
      << run.out;

  EXPECT_EQ(console({"reg", "set", kProduct, "DataFile", "C:\\データ\\om.dat"}).status, 0);
  EXPECT_EQ(console({"reg", "set", "hklm\\software\\velmoran\\orvamanager", "ServerPort", "0x1F90", "--dword"}).status, 0);
  EXPECT_EQ(console({"reg", "set", std::string(kProduct) + "\\表示", "", "既定"}).status, 0);
  EXPECT_EQ(console({"reg", "set", "HKCU\\Software\\Velmoran\\Orva Manager", "LoginHostName", "--", "--x"}).status, 0);

  // The store holds code page 932; the console speaks UTF-8.
  tstring stored;
  EXPECT_TRUE(CRegistry(HKEY_LOCAL_MACHINE, "SOFTWARE\\Velmoran\\OrvaManager").getValue("DataFile", stored));
  EXPECT_EQ(stored, om::utf8ToCp932("C:\\データ\\om.dat"));

  run = console({"reg", "get", kProduct, "serverport"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, "8080\n");
  run = console({"reg", "get", std::string(kProduct) + "\\表示", ""});
  EXPECT_EQ(run.out, "既定\n");
  run = console({"reg", "get", "HKEY_CURRENT_USER\\Software\\Velmoran\\Orva Manager", "LoginHostName"});
  EXPECT_EQ(run.out, "--x\n");

  run = console({"reg", "list", kProduct});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out,
            "表示\\\n"
            "DataFile\tREG_SZ\tC:\\データ\\om.dat\n"
            "ServerPort\tREG_DWORD\t0x00001f90 (8080)\n");
  run = console({"help"});
  EXPECT_NE(run.out.find("registry: HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmoran\\OrvaManager holds 2 values and 1 subkey"),
            std::string::npos)
      << run.out;

  EXPECT_EQ(console({"reg", "delete", kProduct, "DataFile"}).status, 0);
  expectFailure(console({"reg", "get", kProduct, "DataFile"}), 1, "no value 'DataFile'");
  expectFailure(console({"reg", "delete", kProduct, "DataFile"}), 1, "no value 'DataFile'");
  EXPECT_EQ(console({"reg", "delete", "HKLM\\SOFTWARE\\Velmoran"}).status, 0);
  expectFailure(console({"reg", "list", kProduct}), 1, "key not found");
  expectFailure(console({"reg", "delete", kProduct}), 1, "key not found");
}

TEST_F(RegConsole, ExportAndImport) {
  ASSERT_EQ(console({"reg", "set", kProduct, "Path", "C:\\\"q\"\\表"}).status, 0);
  ASSERT_EQ(console({"reg", "set", kProduct, "Port", "161", "--dword"}).status, 0);
  ASSERT_EQ(console({"reg", "set", std::string(kProduct) + "\\Sub", "x", "y"}).status, 0);
  const std::string listed = console({"reg", "list", kProduct}).out;
  const auto v5 = home_ / "v5.reg";
  const auto r4 = home_ / "r4.reg";
  EXPECT_EQ(console({"reg", "export", kProduct, v5.string()}).status, 0);
  EXPECT_EQ(console({"reg", "export", "--regedit4", kProduct, r4.string()}).status, 0);
  EXPECT_EQ(readFile(v5).substr(0, 4), std::string("\xFF\xFEW\0", 4));
  const std::string regedit4 = readFile(r4);
  EXPECT_EQ(regedit4.rfind("REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmoran\\OrvaManager]\r\n", 0), 0u);
  EXPECT_NE(regedit4.find(om::utf8ToCp932("\"Path\"=\"C:\\\\\\\"q\\\"\\\\表\"\r\n")), std::string::npos) << regedit4;

  for (const auto& file : {v5, r4}) {
    ASSERT_EQ(console({"reg", "delete", kProduct}).status, 0);
    EXPECT_EQ(console({"reg", "import", file.string()}).status, 0);
    EXPECT_EQ(console({"reg", "list", kProduct}).out, listed);
  }

  // A malformed line after good ones: nothing changes, the line is named.
  const auto bad = home_ / "bad.reg";
  std::ofstream(bad, std::ios::binary) << "REGEDIT4\r\n"
                                          "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmoran\\OrvaManager]\r\n"
                                          "\"Port\"=dword:00000001\r\n"
                                          "[-HKEY_LOCAL_MACHINE\\SOFTWARE\\Velmoran\\OrvaManager\\Sub]\r\n"
                                          "\"Path\"=hex:zz\r\n";
  expectFailure(console({"reg", "import", bad.string()}), 1, bad.string() + ": line 5: ");
  EXPECT_EQ(console({"reg", "list", kProduct}).out, listed);
}

TEST_F(RegConsole, BadInputAndWrongUsage) {
  ASSERT_EQ(console({"reg", "set", kProduct, "x", "1"}).status, 0);
  expectFailure(console({"reg", "get", "HKLM\\SOFTWARE\\Nothing", "x"}), 1, "HKLM\\SOFTWARE\\Nothing: key not found");
  expectFailure(console({"reg", "list", "HKEY_CLASSES_ROOT\\x"}), 1, "unknown hive in 'HKEY_CLASSES_ROOT\\x'");
  expectFailure(console({"reg", "set", "HKLM\\a\tb", "x", "1"}), 1, "control character");
  expectFailure(console({"reg", "set", kProduct, "n", "4294967296", "--dword"}), 1, "is not a DWORD");
  expectFailure(console({"reg", "set", kProduct, "n", "-1", "--dword"}), 1, "is not a DWORD");
  expectFailure(console({"reg", "delete", "HKLM"}), 1, "a hive cannot be deleted");
  expectFailure(console({"reg", "export", "HKLM\\SOFTWARE\\Nothing", (home_ / "x.reg").string()}), 1,
                "key not found");
  expectFailure(console({"reg", "export", kProduct, (home_ / "no" / "dir" / "x.reg").string()}), 1, "cannot write");
  expectFailure(console({"reg", "import", (home_ / "missing.reg").string()}), 1, "cannot read");

  expectFailure(console({"reg"}), 2, "usage");
  expectFailure(console({"reg", "frob"}), 2, "usage");
  expectFailure(console({"reg", "get", kProduct}), 2, "usage: omconsole reg get KEY NAME");
  expectFailure(console({"reg", "set", kProduct, "n", "v", "--bogus"}), 2, "usage: omconsole reg set");
  expectFailure(console({"reg", "delete", kProduct, "a", "b"}), 2, "usage");
  expectFailure(console({"reg", "import"}), 2, "usage");
}

}  // namespace

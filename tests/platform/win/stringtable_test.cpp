#include <gtest/gtest.h>

#include <map>

#include <om/StringTable.h>
#include <om/codepage.h>
#include <windows.h>

namespace {

std::string load(UINT id) {
  char buffer[512];
  const int n = LoadStringA(nullptr, id, buffer, sizeof buffer);
  return std::string(buffer, static_cast<size_t>(n));
}

TEST(StringTable, HoldsExactlyTheLibraryRanges) {
  std::vector<unsigned> expected;
  for (unsigned id = 7001; id <= 7088; ++id) expected.push_back(id);
  for (unsigned id = 7100; id <= 7115; ++id) expected.push_back(id);
  for (unsigned id = 25001; id <= 25004; ++id) expected.push_back(id);
  EXPECT_EQ(om::resourceStringIds(), expected);
}

// Every id with its exact text, as the library's users see it (UTF-8 here).
const std::map<UINT, std::string> kGolden = {
    {7001, "カスタムコマンド"},
    {7002, "イベント発生時に、指定コマンドを実行します。"},
    {7003, "ポップアップ"},
    {7004, "イベント発生時に、ポップアップ・ウィンドウに表示します。"},
    {7005, "ビープ"},
    {7006, "イベント発生時に、ビープ音を鳴らします。"},
    {7007, "WAVEサウンド"},
    {7008, "イベント発生時に、指定のWAVEファイルを鳴らします。"},
    {7009, "機器管理"},
    {7010, "イベント発生時に、機器管理AP(OrvaView)を起動します。"},
    {7011, "MIBブラウザ起動"},
    {7012, "イベント発生時に、MIBブラウザ(Lunet)を起動します。"},
    {7013, "TELNETコンソール起動"},
    {7014, "イベント発生時に、TELNETコンソールを起動します。"},
    {7015, "TFTPクライアント起動"},
    {7016, "イベント発生時に、TFTPクライアントAP(Tyfra)を起動します。"},
    {7017, "メール送信"},
    {7018, "イベント発生時に、指定された内容のメールを送信します。"},
    {7019, "TRAP転送"},
    {7020, "TRAP受信時に、そのTRAPを転送します。"},
    {7021, "WEBブラウザ起動"},
    {7022, "イベント発生時に、WEBブラウザ(IE)を起動します。"},
    {7023, "エラーログ"},
    {7024, "アラームログ"},
    {7025, "TRAPログ"},
    {7026, "情報ログ"},
    {7027, "未定義"},
    {7028, "致命的エラー"},
    {7029, "一般的エラー"},
    {7030, "警告"},
    {7031, "上限しきい値超過"},
    {7032, "下限しきい値超過"},
    {7033, "coldStart"},
    {7034, "warmStart"},
    {7035, "linkDown"},
    {7036, "linkUp"},
    {7037, "authenticationFailure"},
    {7038, "egpNeighborLoss"},
    {7039, "newRoot"},
    {7040, "topologyChange"},
    {7041, "rptrHealth"},
    {7042, "rptrGroupChange"},
    {7043, "rptrResetEvent"},
    {7044, "他ＴＲＡＰ"},
    {7045, "削除"},
    {7046, "追加"},
    {7047, "Up"},
    {7048, "Down"},
    {7049, "ポート・ブロッキング"},
    {7050, "ポート・パーティッション"},
    {7051, "変更"},
    {7052, "開始"},
    {7053, "終了"},
    {7054, "検出"},
    {7055, "取得中"},
    {7056, "移動"},
    {7057, "応答"},
    {7058, "無応答"},
    {7059, "無効"},
    {7060, "未定義レベル"},
    {7061, "ユーザレベル"},
    {7062, "作業レベル"},
    {7063, "デバッグレベル"},
    {7064, "アクション・コマンドＩＤ(%d)"},
    {7065, "ログＩＤ(%d)"},
    {7066, "サーバとの通信に失敗しました。(%s: code=0x%08x)"},
    {7067, "COM初期化"},
    {7068, "COMセキュリティー調整"},
    {7069, "サーバと接続中"},
    {7070, "サーバと未接続"},
    {7071, "WBEMルート接続"},
    {7072, "WBEM名前空間接続"},
    {7073, "Orva Manager(サーバ)動作中"},
    {7074, "イベントログ接続"},
    {7075, "ユーザー資格情報はローカル接続には使用できません。\n「現在のユーザーでログイン」を指定してください。"},
    {7076, "Velmoran\\OrvaManager"},
    {7077, "Software\\Velmoran\\Orva Manager"},
    {7078, "LoginUserName"},
    {7079, "LoginDomainName"},
    {7080, "LoginHostName"},
    {7081, "AuthnLevel"},
    {7082, "ImpLevel"},
    {7083, "Installed Components"},
    {7084, "CORE"},
    {7085, "WQL"},
    {7086, "SOFTWARE\\Microsoft\\WBEM"},
    {7087, "経路テスト・コマンド"},
    {7088, "イベント発生時に、経路テスト・コマンドを実行します。"},
    {7100, "なし"},
    {7101, "エラー"},
    {7102, "アラーム"},
    {7103, "TRAP"},
    {7104, "情報"},
    {7105, "不明"},
    {7106, "ネットワーク全体"},
    {7107, "サブネット"},
    {7108, "VLAN"},
    {7109, "デバイス"},
    {7110, "スタック"},
    {7111, "ポート"},
    {7112, "全タスク"},
    {7113, "タスク状態"},
    {7114, "タスク種別"},
    {7115, "タスク"},
    {25001, "ユーザ"},
    {25002, "経過表示"},
    {25003, "デバッグ"},
    {25004, "その他"},
};

TEST(StringTable, EveryTextExactlyInCodePage932) {
  for (const auto& [id, utf8] : kGolden) {
    const std::string text = load(id);
    EXPECT_EQ(text, om::utf8ToCp932(utf8)) << id;
    // Nothing was replaced on the way to 932.
    EXPECT_EQ(om::cp932ToUtf8(text), utf8) << id;
  }
}

TEST(StringTable, BufferRules) {
  char buffer[8];
  // Unknown id: 0, empty buffer, ERROR_RESOURCE_NAME_NOT_FOUND.
  buffer[0] = 'x';
  EXPECT_EQ(LoadStringA(nullptr, 6999, buffer, sizeof buffer), 0);
  EXPECT_EQ(buffer[0], '\0');
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_RESOURCE_NAME_NOT_FOUND));
  // 7001 is eight double-byte characters; a buffer of 8 holds three of them,
  // never half of one.
  EXPECT_EQ(LoadStringA(nullptr, 7001, buffer, sizeof buffer), 6);
  EXPECT_EQ(std::string(buffer), om::utf8ToCp932("カスタ"));
  EXPECT_EQ(LoadStringA(nullptr, 7085, buffer, 3), 2);
  EXPECT_STREQ(buffer, "WQ");
}

}  // namespace

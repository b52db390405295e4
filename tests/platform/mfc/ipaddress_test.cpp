#include <gtest/gtest.h>

#include <afxcmn.h>

namespace {

DWORD packed(CIPAddressCtrl& ctrl, LRESULT* filled) {
  DWORD address = 0xDEADBEEF;
  *filled = ctrl.SendMessage(IPM_GETADDRESS, 0, reinterpret_cast<LPARAM>(&address));
  return address;
}

TEST(IPAddressCtrl, GetAddressPacksHostOrderAndCountsFields) {
  EXPECT_EQ(IPM_GETADDRESS, 1126);
  CIPAddressCtrl ctrl;
  LRESULT filled = -1;
  EXPECT_TRUE(ctrl.IsBlank());
  EXPECT_EQ(packed(ctrl, &filled), 0u);
  EXPECT_EQ(filled, 0);

  ctrl.SetAddress(192, 168, 1, 20);
  EXPECT_FALSE(ctrl.IsBlank());
  EXPECT_EQ(packed(ctrl, &filled), 0xC0A80114u);
  EXPECT_EQ(filled, 4);

  ctrl.SetFieldBlank(2);
  EXPECT_TRUE(ctrl.IsFieldBlank(2));
  EXPECT_EQ(packed(ctrl, &filled), 0xC0A80014u);
  EXPECT_EQ(filled, 3);
  BYTE a = 9, b = 9, c = 9, d = 9;
  EXPECT_EQ(ctrl.GetAddress(a, b, c, d), 3);
  EXPECT_EQ(a, 192);
  EXPECT_EQ(b, 168);
  EXPECT_EQ(c, 0);
  EXPECT_EQ(d, 20);

  ctrl.SetAddress(static_cast<DWORD>(0x0A000001));
  DWORD address = 0;
  EXPECT_EQ(ctrl.GetAddress(address), 4);
  EXPECT_EQ(address, 0x0A000001u);

  ctrl.ClearAddress();
  ctrl.SetFieldValue(0, 255);
  EXPECT_EQ(packed(ctrl, &filled), 0xFF000000u);
  EXPECT_EQ(filled, 1);

  ctrl.SendMessage(IPM_SETADDRESS, 0, MAKEIPADDRESS(1, 2, 3, 4));
  EXPECT_EQ(packed(ctrl, &filled), 0x01020304u);
  EXPECT_EQ(ctrl.SendMessage(IPM_ISBLANK), FALSE);
  ctrl.SendMessage(IPM_CLEARADDRESS);
  EXPECT_EQ(ctrl.SendMessage(IPM_ISBLANK), TRUE);
  EXPECT_EQ(ctrl.SendMessage(WM_USER + 999), 0);
}

}  // namespace

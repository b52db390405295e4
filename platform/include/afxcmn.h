// The IP address control, without a window: four address fields, each blank
// or a number 0-255, read back through the control's messages the way dialog
// code reads the real control.
#ifndef OM_PLATFORM_AFXCMN_H_
#define OM_PLATFORM_AFXCMN_H_

#include <windows.h>

#ifndef WM_USER
#define WM_USER 0x0400
#endif
#define IPM_CLEARADDRESS (WM_USER + 100)
#define IPM_SETADDRESS (WM_USER + 101)
#define IPM_GETADDRESS (WM_USER + 102)
#define IPM_ISBLANK (WM_USER + 105)

#define MAKEIPADDRESS(b1, b2, b3, b4) \
  ((LPARAM)(((DWORD)(b1) << 24) + ((DWORD)(b2) << 16) + ((DWORD)(b3) << 8) + ((DWORD)(b4))))
#define FIRST_IPADDRESS(x) (((x) >> 24) & 0xff)
#define SECOND_IPADDRESS(x) (((x) >> 16) & 0xff)
#define THIRD_IPADDRESS(x) (((x) >> 8) & 0xff)
#define FOURTH_IPADDRESS(x) ((x) & 0xff)

// Fields are numbered 0 (the first, most significant byte) to 3. A new
// control is blank.
class CIPAddressCtrl {
 public:
  static const int kFieldCount = 4;

  CIPAddressCtrl();

  void SetAddress(BYTE field0, BYTE field1, BYTE field2, BYTE field3);
  // `hostOrder` holds the first field in its high byte.
  void SetAddress(DWORD hostOrder);
  void ClearAddress();
  // Sets field `field` (0-3) to `value`, or blanks it; out-of-range fields
  // are ignored.
  void SetFieldValue(int field, BYTE value);
  void SetFieldBlank(int field);
  BOOL IsFieldBlank(int field) const;
  // TRUE when every field is blank.
  BOOL IsBlank() const;

  // Both return the number of non-blank fields; blank fields read as 0.
  int GetAddress(BYTE& field0, BYTE& field1, BYTE& field2, BYTE& field3) const;
  int GetAddress(DWORD& hostOrder) const;

  // IPM_GETADDRESS stores the packed address into *(DWORD*)lParam and returns
  // the number of non-blank fields; IPM_SETADDRESS sets all fields from
  // lParam; IPM_CLEARADDRESS blanks them; IPM_ISBLANK answers IsBlank.
  // Other messages return 0.
  LRESULT SendMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);

 private:
  static const int kBlank = -1;
  int fields_[kFieldCount];  // 0-255, or kBlank
};

#endif  // OM_PLATFORM_AFXCMN_H_

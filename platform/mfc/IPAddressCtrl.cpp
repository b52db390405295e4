#include <afxcmn.h>

CIPAddressCtrl::CIPAddressCtrl() { ClearAddress(); }

void CIPAddressCtrl::SetAddress(BYTE field0, BYTE field1, BYTE field2, BYTE field3) {
  fields_[0] = field0;
  fields_[1] = field1;
  fields_[2] = field2;
  fields_[3] = field3;
}

void CIPAddressCtrl::SetAddress(DWORD hostOrder) {
  for (int i = 0; i < kFieldCount; ++i) {
    fields_[i] = static_cast<int>((hostOrder >> (8 * (kFieldCount - 1 - i))) & 0xff);
  }
}

void CIPAddressCtrl::ClearAddress() {
  for (int& field : fields_) field = kBlank;
}

void CIPAddressCtrl::SetFieldValue(int field, BYTE value) {
  if (field >= 0 && field < kFieldCount) fields_[field] = value;
}

void CIPAddressCtrl::SetFieldBlank(int field) {
  if (field >= 0 && field < kFieldCount) fields_[field] = kBlank;
}

BOOL CIPAddressCtrl::IsFieldBlank(int field) const {
  return field < 0 || field >= kFieldCount || fields_[field] == kBlank;
}

BOOL CIPAddressCtrl::IsBlank() const {
  for (int field : fields_) {
    if (field != kBlank) return FALSE;
  }
  return TRUE;
}

int CIPAddressCtrl::GetAddress(DWORD& hostOrder) const {
  hostOrder = 0;
  int filled = 0;
  for (int field : fields_) {
    hostOrder <<= 8;
    if (field != kBlank) {
      hostOrder |= static_cast<DWORD>(field);
      ++filled;
    }
  }
  return filled;
}

int CIPAddressCtrl::GetAddress(BYTE& field0, BYTE& field1, BYTE& field2, BYTE& field3) const {
  DWORD packed = 0;
  const int filled = GetAddress(packed);
  field0 = static_cast<BYTE>(FIRST_IPADDRESS(packed));
  field1 = static_cast<BYTE>(SECOND_IPADDRESS(packed));
  field2 = static_cast<BYTE>(THIRD_IPADDRESS(packed));
  field3 = static_cast<BYTE>(FOURTH_IPADDRESS(packed));
  return filled;
}

LRESULT CIPAddressCtrl::SendMessage(UINT message, WPARAM /*wParam*/, LPARAM lParam) {
  switch (message) {
    case IPM_GETADDRESS: {
      DWORD packed = 0;
      const int filled = GetAddress(packed);
      if (lParam != 0) *reinterpret_cast<DWORD*>(lParam) = packed;
      return filled;
    }
    case IPM_SETADDRESS:
      SetAddress(static_cast<DWORD>(lParam));
      return 0;
    case IPM_CLEARADDRESS:
      ClearAddress();
      return 0;
    case IPM_ISBLANK:
      return IsBlank();
    default:
      return 0;
  }
}

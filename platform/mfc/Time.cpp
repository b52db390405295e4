// CTime and CTimeSpan over time_t.
#include <afx.h>

#include <vector>

namespace {

thread_local struct tm t_tm;

// strftime into a buffer that grows until the text fits.
CString formatTm(LPCTSTR pszFormat, const struct tm* ptm) {
  if (pszFormat == nullptr || *pszFormat == '\0' || ptm == nullptr) return CString();
  for (size_t size = 128; size <= (1u << 20); size *= 2) {
    std::vector<char> buffer(size);
    const size_t n = std::strftime(buffer.data(), size, pszFormat, ptm);
    // 0 is also the length of an empty result: a buffer this much larger than
    // the format cannot be too small for it.
    if (n > 0 || size > 64 * std::strlen(pszFormat)) return CString(buffer.data(), static_cast<int>(n));
  }
  return CString();
}

}  // namespace

CTimeSpan::CTimeSpan(LONG lDays, int nHours, int nMins, int nSecs)
    : m_timeSpan(((static_cast<time_t>(lDays) * 24 + nHours) * 60 + nMins) * 60 + nSecs) {}

CString CTimeSpan::Format(LPCTSTR pszFormat) const {
  CString result;
  for (const char* p = pszFormat; p != nullptr && *p != '\0'; ++p) {
    if (*p != '%' || p[1] == '\0') {
      result += *p;
      continue;
    }
    switch (*++p) {
      case 'D': result.AppendFormat("%lld", static_cast<long long>(GetDays())); break;
      case 'H': result.AppendFormat("%02d", GetHours()); break;
      case 'M': result.AppendFormat("%02d", GetMinutes()); break;
      case 'S': result.AppendFormat("%02d", GetSeconds()); break;
      case '%': result += '%'; break;
      default:
        result += '%';
        result += *p;
    }
  }
  return result;
}

CTime::CTime(int nYear, int nMonth, int nDay, int nHour, int nMin, int nSec, int nDST) {
  struct tm fields = {};
  fields.tm_year = nYear - 1900;
  fields.tm_mon = nMonth - 1;
  fields.tm_mday = nDay;
  fields.tm_hour = nHour;
  fields.tm_min = nMin;
  fields.tm_sec = nSec;
  fields.tm_isdst = nDST;
  m_time = std::mktime(&fields);
}

CTime PASCAL CTime::GetCurrentTime() { return CTime(std::time(nullptr)); }

struct tm* CTime::GetLocalTm(struct tm* ptm) const {
  return localtime_r(&m_time, ptm != nullptr ? ptm : &t_tm);
}

struct tm* CTime::GetGmtTm(struct tm* ptm) const { return gmtime_r(&m_time, ptm != nullptr ? ptm : &t_tm); }

int CTime::localField(int tm::*field) const {
  struct tm fields;
  return GetLocalTm(&fields) == nullptr ? 0 : fields.*field;
}

int CTime::GetYear() const { return localField(&tm::tm_year) + 1900; }
int CTime::GetMonth() const { return localField(&tm::tm_mon) + 1; }
int CTime::GetDay() const { return localField(&tm::tm_mday); }
int CTime::GetHour() const { return localField(&tm::tm_hour); }
int CTime::GetMinute() const { return localField(&tm::tm_min); }
int CTime::GetSecond() const { return localField(&tm::tm_sec); }
int CTime::GetDayOfWeek() const { return localField(&tm::tm_wday) + 1; }

CString CTime::Format(LPCTSTR pszFormat) const {
  struct tm fields;
  return formatTm(pszFormat, GetLocalTm(&fields));
}

CString CTime::FormatGmt(LPCTSTR pszFormat) const {
  struct tm fields;
  return formatTm(pszFormat, GetGmtTm(&fields));
}

CArchive& CTime::Serialize64(CArchive& ar) { return ar.IsStoring() ? ar << *this : ar >> *this; }

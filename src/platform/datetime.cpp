#include "platform/datetime.h"

#include "platform/error.h"

namespace qorl {

// Named rather than anonymous so that a unity batch cannot clash with it.
namespace datetime_detail {

bool IsLeapYear(int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

int DaysInMonth(int y, int m) {
  static constexpr int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return m == 2 && IsLeapYear(y) ? 29 : kDays[m - 1];
}

void AppendDigits(VXString& out, int value, int width) {
  char32_t buf[4];
  for (int i = width - 1; i >= 0; --i) {
    buf[i] = static_cast<char32_t>(U'0' + value % 10);
    value /= 10;
  }
  out.append(buf, static_cast<size_t>(width));
}

// Reads `width` ASCII digits at `pos`; false on anything else.
bool ReadDigits(const VXString& s, size_t pos, int width, int& value) {
  value = 0;
  for (int i = 0; i < width; ++i) {
    char32_t c = s[pos + static_cast<size_t>(i)];
    if (c < U'0' || c > U'9') return false;
    value = value * 10 + static_cast<int>(c - U'0');
  }
  return true;
}

}  // namespace datetime_detail

bool VXDateTime::IsValid() const {
  if (m_year < 1 || m_year > 9999 || m_month < 1 || m_month > 12) return false;
  if (m_day < 1 || m_day > datetime_detail::DaysInMonth(m_year, m_month)) return false;
  return m_hour < 24 && m_minute < 60 && m_second < 60 && m_fraction < 1000000000u;
}

void DateTimeMetaData::Convert(const VXDateTime& in, VXString& out) const {
  out.clear();
  if (!in.IsValid()) return;
  out.reserve(kPattern.size());
  datetime_detail::AppendDigits(out, in.GetYear(), 4);
  out.push_back(U'-');
  datetime_detail::AppendDigits(out, in.GetMonth(), 2);
  out.push_back(U'-');
  datetime_detail::AppendDigits(out, in.GetDay(), 2);
  out.push_back(U' ');
  datetime_detail::AppendDigits(out, in.GetHour(), 2);
  out.push_back(U':');
  datetime_detail::AppendDigits(out, in.GetMinute(), 2);
  out.push_back(U':');
  datetime_detail::AppendDigits(out, in.GetSecond(), 2);
}

bool DateTimeMetaData::TryConvert(const VXString& in, VXDateTime& out) const noexcept {
  // yyyy-mm-dd hh:mi:ss
  // 0123456789012345678
  if (in.size() != kPattern.size()) return false;
  if (in[4] != U'-' || in[7] != U'-' || in[10] != U' ' || in[13] != U':' || in[16] != U':') return false;
  int y, mo, d, h, mi, s;
  using datetime_detail::ReadDigits;
  if (!ReadDigits(in, 0, 4, y) || !ReadDigits(in, 5, 2, mo) || !ReadDigits(in, 8, 2, d) || !ReadDigits(in, 11, 2, h) ||
      !ReadDigits(in, 14, 2, mi) || !ReadDigits(in, 17, 2, s))
    return false;
  VXDateTime dt(y, mo, d, h, mi, s, 0);
  if (!dt.IsValid()) return false;
  out = dt;
  return true;
}

void DateTimeMetaData::Convert(const VXString& in, VXDateTime& out) const {
  if (!TryConvert(in, out)) {
    VXString text("\"");
    text += in;
    text += "\" is not a date and time of the form ";
    text += kPattern;
    throw ErrorMessage(text);
  }
}

const DateTimeMetaData& TimeStampMeta() {
  static const DateTimeMetaData meta;
  return meta;
}

}  // namespace qorl

// Dates and times as documents and the store hold them, and their one text
// form, "yyyy-mm-dd hh:mi:ss".
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/vxstring.h"

namespace qorl {

// A calendar date with a time of day. A default-constructed value (all
// fields 0) means "no date"; it is not a valid date and has no text.
class VXDateTime {
 public:
  VXDateTime() = default;
  // fraction: nanoseconds within the second.
  VXDateTime(int year, int month, int day, int hour = 0, int minute = 0, int second = 0, uint32_t fraction = 0)
      : m_year(static_cast<int16_t>(year)),
        m_month(static_cast<uint8_t>(month)),
        m_day(static_cast<uint8_t>(day)),
        m_hour(static_cast<uint8_t>(hour)),
        m_minute(static_cast<uint8_t>(minute)),
        m_second(static_cast<uint8_t>(second)),
        m_fraction(fraction) {}

  int GetYear() const { return m_year; }
  int GetMonth() const { return m_month; }
  int GetDay() const { return m_day; }
  int GetHour() const { return m_hour; }
  int GetMinute() const { return m_minute; }
  int GetSecond() const { return m_second; }
  uint32_t GetFraction() const { return m_fraction; }

  bool IsNoDate() const { return *this == VXDateTime(); }
  // Year 1 to 9999, a day that exists in its month (Gregorian leap years),
  // hour below 24, minute and second below 60, fraction below one second.
  bool IsValid() const;

  friend bool operator==(const VXDateTime&, const VXDateTime&) = default;

 private:
  int16_t m_year = 0;
  uint8_t m_month = 0;
  uint8_t m_day = 0;
  uint8_t m_hour = 0;
  uint8_t m_minute = 0;
  uint8_t m_second = 0;
  uint32_t m_fraction = 0;
};

// The text form of dates. Only one pattern exists; the class is kept so that
// callers name the form they rely on.
class DateTimeMetaData {
 public:
  static constexpr std::u32string_view kPattern = U"yyyy-mm-dd hh:mi:ss";

  std::u32string_view Pattern() const { return kPattern; }

  // Date to text. The fraction is not part of the form and is dropped. An
  // invalid date (the "no date" value among them) gives the empty text.
  void Convert(const VXDateTime& in, VXString& out) const;
  VXString ToText(const VXDateTime& in) const {
    VXString s;
    Convert(in, s);
    return s;
  }

  // Text to date, strictly: exactly 19 characters in the pattern, ASCII
  // digits, and a valid date. Anything else throws ErrorMessage (a raw text
  // naming the pattern) and leaves `out` untouched. The fraction reads as 0.
  void Convert(const VXString& in, VXDateTime& out) const;
  // The same check without throwing: false leaves `out` untouched.
  bool TryConvert(const VXString& in, VXDateTime& out) const noexcept;
};

// The shared meta data of the "yyyy-mm-dd hh:mi:ss" form.
const DateTimeMetaData& TimeStampMeta();

}  // namespace qorl

#include "util/date_text.h"

#include <cctype>
#include <cstdio>
#include <vector>

#include "util/text.h"

namespace clipcat {
namespace {

struct Token {
  enum Kind { kNumber, kWord, kSeparator } kind;
  std::string text;
  bool used = false;
};

bool IsWordByte(unsigned char c) { return std::isalpha(c) != 0 || c >= 0x80; }

std::optional<std::vector<Token>> Tokenize(std::string_view text) {
  std::vector<Token> tokens;
  size_t i = 0;
  while (i < text.size()) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (c == ' ' || c == '\t') {
      ++i;
    } else if (std::isdigit(c)) {
      size_t j = i;
      while (j < text.size() && std::isdigit(static_cast<unsigned char>(text[j]))) ++j;
      if (j - i > 4) return std::nullopt;
      tokens.push_back({Token::kNumber, std::string(text.substr(i, j - i))});
      i = j;
    } else if (IsWordByte(c)) {
      size_t j = i;
      while (j < text.size() && IsWordByte(static_cast<unsigned char>(text[j]))) ++j;
      tokens.push_back({Token::kWord, std::string(text.substr(i, j - i))});
      i = j;
    } else if (c == ':' || c == '/' || c == '-' || c == '.' || c == ',') {
      tokens.push_back({Token::kSeparator, std::string(1, static_cast<char>(c))});
      ++i;
    } else {
      return std::nullopt;
    }
  }
  return tokens;
}

bool IsSeparator(const std::vector<Token>& t, size_t i, char c) {
  return i < t.size() && t[i].kind == Token::kSeparator && t[i].text[0] == c;
}

bool IsNumber(const std::vector<Token>& t, size_t i) {
  return i < t.size() && t[i].kind == Token::kNumber;
}

// 0 for am, 12 for pm, -1 for neither.
int MeridiemOffset(const std::string& word, const DateLocale& locale) {
  if (EqualsIgnoreCase(word, "am") || EqualsIgnoreCase(word, locale.am)) return 0;
  if (EqualsIgnoreCase(word, "pm") || EqualsIgnoreCase(word, locale.pm)) return 12;
  return -1;
}

int MonthFromName(const std::string& word, const DateLocale& locale) {
  for (int m = 0; m < 12; ++m) {
    if (EqualsIgnoreCase(word, locale.month_names[m]) ||
        EqualsIgnoreCase(word, locale.month_abbreviations[m])) {
      return m + 1;
    }
  }
  return 0;
}

// Finds and consumes the time of day. Answers false when the time is malformed.
bool ReadTime(std::vector<Token>& t, const DateLocale& locale, DateParts& parts, bool& found) {
  found = false;
  for (size_t i = 0; i < t.size(); ++i) {
    if (!IsNumber(t, i)) continue;
    size_t end = i;
    int fields[3] = {std::stoi(t[i].text), 0, 0};
    int count = 1;
    while (count < 3 && IsSeparator(t, end + 1, ':') && IsNumber(t, end + 2)) {
      fields[count++] = std::stoi(t[end + 2].text);
      end += 2;
    }
    int meridiem = -1;
    if (end + 1 < t.size() && t[end + 1].kind == Token::kWord) {
      meridiem = MeridiemOffset(t[end + 1].text, locale);
    }
    if (count == 1 && meridiem < 0) continue;  // a plain number belongs to the date
    if (found) return false;                   // two times
    found = true;
    if (meridiem >= 0) {
      if (fields[0] < 1 || fields[0] > 12) return false;
      fields[0] = fields[0] % 12 + meridiem;
      ++end;
    }
    if (fields[0] > 23 || fields[1] > 59 || fields[2] > 59) return false;
    parts.hour = fields[0];
    parts.minute = fields[1];
    parts.second = fields[2];
    for (size_t k = i; k <= end; ++k) t[k].used = true;
    i = end;
  }
  return true;
}

int ExpandYear(const std::string& digits) {
  const int value = std::stoi(digits);
  if (digits.size() > 2) return value;
  return value < 30 ? 2000 + value : 1900 + value;
}

bool IsYearLike(const std::string& digits) { return digits.size() > 2 || std::stoi(digits) > 31; }

}  // namespace

std::optional<Date> ParseDateText(std::string_view text, const DateLocale& locale) {
  auto tokens = Tokenize(text);
  if (!tokens || tokens->empty()) return std::nullopt;
  std::vector<Token>& t = *tokens;

  DateParts parts;
  bool has_time = false;
  if (!ReadTime(t, locale, parts, has_time)) return std::nullopt;

  std::vector<std::string> numbers;
  int month_from_name = 0;
  for (const Token& token : t) {
    if (token.used) continue;
    if (token.kind == Token::kNumber) {
      numbers.push_back(token.text);
    } else if (token.kind == Token::kWord) {
      const int month = MonthFromName(token.text, locale);
      if (month == 0 || month_from_name != 0) return std::nullopt;
      month_from_name = month;
    } else if (token.text == ":") {
      return std::nullopt;
    }
  }
  if (numbers.size() > 3) return std::nullopt;

  if (numbers.empty() && month_from_name == 0) {
    if (!has_time) return std::nullopt;
    return Date::FromParts(parts);  // a time alone lies on day zero
  }

  const int current_year = Date::Now().Parts().year;
  if (month_from_name != 0) {
    parts.month = month_from_name;
    if (numbers.size() == 2) {
      const bool first_is_year = IsYearLike(numbers[0]) && !IsYearLike(numbers[1]);
      parts.day = std::stoi(numbers[first_is_year ? 1 : 0]);
      parts.year = ExpandYear(numbers[first_is_year ? 0 : 1]);
    } else if (numbers.size() == 1) {
      if (IsYearLike(numbers[0])) {
        parts.day = 1;
        parts.year = ExpandYear(numbers[0]);
      } else {
        parts.day = std::stoi(numbers[0]);
        parts.year = current_year;
      }
    } else {
      return std::nullopt;
    }
  } else if (numbers.size() == 3) {
    DateOrder order = locale.order;
    if (numbers[0].size() > 2) order = DateOrder::kYearMonthDay;
    const std::string *y, *m, *d;
    switch (order) {
      case DateOrder::kDayMonthYear:
        d = &numbers[0], m = &numbers[1], y = &numbers[2];
        break;
      case DateOrder::kMonthDayYear:
        m = &numbers[0], d = &numbers[1], y = &numbers[2];
        break;
      default:
        y = &numbers[0], m = &numbers[1], d = &numbers[2];
        break;
    }
    parts.year = ExpandYear(*y);
    parts.month = std::stoi(*m);
    parts.day = std::stoi(*d);
  } else if (numbers.size() == 2) {
    const bool day_first = locale.order == DateOrder::kDayMonthYear;
    parts.day = std::stoi(numbers[day_first ? 0 : 1]);
    parts.month = std::stoi(numbers[day_first ? 1 : 0]);
    parts.year = current_year;
  } else {
    return std::nullopt;
  }
  return Date::FromParts(parts);
}

std::string FormatLocaleDate(const Date& date, const DateLocale& locale) {
  const DateParts p = date.Parts();
  char day_text[32];
  switch (locale.order) {
    case DateOrder::kDayMonthYear:
      std::snprintf(day_text, sizeof day_text, "%d/%d/%04d", p.day, p.month, p.year);
      break;
    case DateOrder::kMonthDayYear:
      std::snprintf(day_text, sizeof day_text, "%d/%d/%04d", p.month, p.day, p.year);
      break;
    default:
      std::snprintf(day_text, sizeof day_text, "%04d/%02d/%02d", p.year, p.month, p.day);
      break;
  }
  char time_text[16];
  std::snprintf(time_text, sizeof time_text, "%02d:%02d:%02d", p.hour, p.minute, p.second);
  const bool day_zero = p.year == 1899 && p.month == 12 && p.day == 30;
  const bool midnight = p.hour == 0 && p.minute == 0 && p.second == 0;
  if (day_zero) return time_text;
  if (midnight) return day_text;
  return std::string(day_text) + " " + time_text;
}

std::string FormatCatalogDateText(const Date& date, const DateLocale& locale) {
  const DateParts p = date.Parts();
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%02d:%02d:%02d %d %s %04d", p.hour, p.minute, p.second,
                p.day, locale.month_abbreviations[p.month - 1].c_str(), p.year);
  return buffer;
}

}  // namespace clipcat

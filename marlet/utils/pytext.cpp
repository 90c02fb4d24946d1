#include "marlet/utils/pytext.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "marlet/exception/exceptions.h"

namespace marlet::py {

bool truthy(const Json& v) {
  switch (v.type()) {
    case Json::value_t::null: return false;
    case Json::value_t::boolean: return v.get<bool>();
    case Json::value_t::number_integer: return v.get<long long>() != 0;
    case Json::value_t::number_unsigned: return v.get<unsigned long long>() != 0;
    case Json::value_t::number_float: return v.get<double>() != 0.0;
    case Json::value_t::string: return !v.get_ref<const std::string&>().empty();
    case Json::value_t::array:
    case Json::value_t::object: return !v.empty();
    default: return true;
  }
}

namespace {
// A foreign key starts with a NUL, which no text from a page or a bench file holds.
constexpr char kForeignKeyMark = '\0';

// Foreign values are binary values: the type's name, a NUL, then the str() text.
std::string_view foreign_text(const Json& v) {
  const auto& bytes = v.get_binary();
  std::string_view all(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  auto nul = all.find('\0');
  return nul == std::string_view::npos ? all : all.substr(nul + 1);
}

// Python's str.isprintable() for one code point, for the classes a page or a record can
// hold: controls, the separators other than the blank, format characters, surrogates and
// private use are escaped by repr().
bool printable(char32_t c) {
  if (c < 0x20 || (c >= 0x7f && c <= 0xa0) || c == 0xad) return false;
  if (c == 0x1680 || (c >= 0x2000 && c <= 0x200f) || (c >= 0x2028 && c <= 0x202f)) return false;
  if ((c >= 0x205f && c <= 0x2064) || (c >= 0x2066 && c <= 0x206f) || c == 0x3000) return false;
  if (c == 0x061c || c == 0x180e || c == 0xfeff || (c >= 0xfff9 && c <= 0xfffb)) return false;
  if ((c >= 0xd800 && c <= 0xf8ff) || c >= 0xf0000) return false;
  return true;
}

size_t decode(std::string_view s, size_t i, char32_t& cp);
}  // namespace

Json foreign(const std::string& type_name, const std::string& text) {
  std::vector<std::uint8_t> bytes(type_name.begin(), type_name.end());
  bytes.push_back(0);
  bytes.insert(bytes.end(), text.begin(), text.end());
  return Json::binary(std::move(bytes));
}

std::string foreign_key(const std::string& key_repr) { return std::string(1, kForeignKeyMark) + key_repr; }

std::string repr_text(std::string_view s) {
  // Python picks single quotes unless the text holds one and no double quote.
  bool has_single = s.find('\'') != std::string_view::npos;
  bool has_double = s.find('"') != std::string_view::npos;
  char q = (has_single && !has_double) ? '"' : '\'';
  std::string out(1, q);
  for (size_t i = 0; i < s.size();) {
    unsigned char c = s[i];
    if (c >= 0x80) {
      char32_t cp;
      size_t len = decode(s, i, cp);
      char buf[16];
      if (len == 1) {
        std::snprintf(buf, sizeof buf, "\\x%02x", c);  // a stray byte, as surrogateescape shows it
        out += buf;
      } else if (printable(cp)) {
        out.append(s.substr(i, len));
      } else {
        std::snprintf(buf, sizeof buf, cp <= 0xff ? "\\x%02x" : cp <= 0xffff ? "\\u%04x" : "\\U%08x",
                      static_cast<unsigned>(cp));
        out += buf;
      }
      i += len;
      continue;
    }
    ++i;
    switch (c) {
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default:
        if (c == static_cast<unsigned char>(q)) {
          out += '\\';
          out += static_cast<char>(c);
        } else if (c < 0x20 || c == 0x7f) {
          char buf[8];
          std::snprintf(buf, sizeof buf, "\\x%02x", c);
          out += buf;
        } else {
          out += static_cast<char>(c);
        }
    }
  }
  out += q;
  return out;
}

std::string float_repr(double v) {
  if (std::isnan(v)) return "nan";
  if (std::isinf(v)) return v > 0 ? "inf" : "-inf";
  // Shortest digits that round-trip, then Python's layout: scientific when the decimal
  // exponent is below -4 or at least 16, otherwise positional with at least one decimal.
  char buf[64];
  auto res = std::to_chars(buf, buf + sizeof buf, v, std::chars_format::scientific);
  std::string sci(buf, res.ptr);
  auto epos = sci.find('e');
  std::string mant = sci.substr(0, epos);
  int exp = std::stoi(sci.substr(epos + 1));
  bool neg = !mant.empty() && mant[0] == '-';
  if (neg) mant.erase(0, 1);
  std::string digits;
  for (char c : mant)
    if (c != '.') digits += c;
  std::string out;
  if (exp < -4 || exp >= 16) {
    out = digits.substr(0, 1);
    if (digits.size() > 1) out += "." + digits.substr(1);
    char eb[16];
    std::snprintf(eb, sizeof eb, "e%c%02d", exp < 0 ? '-' : '+', std::abs(exp));
    out += eb;
  } else if (exp < 0) {
    out = "0." + std::string(-exp - 1, '0') + digits;
  } else {
    int int_len = exp + 1;
    if (static_cast<int>(digits.size()) <= int_len) {
      out = digits + std::string(int_len - digits.size(), '0') + ".0";
    } else {
      out = digits.substr(0, int_len) + "." + digits.substr(int_len);
    }
  }
  return neg ? "-" + out : out;
}

namespace {

void repr_into(const Json& v, std::string& out) {
  switch (v.type()) {
    case Json::value_t::null: out += "None"; return;
    case Json::value_t::boolean: out += v.get<bool>() ? "True" : "False"; return;
    case Json::value_t::number_integer: out += std::to_string(v.get<long long>()); return;
    case Json::value_t::number_unsigned: out += std::to_string(v.get<unsigned long long>()); return;
    case Json::value_t::number_float: out += float_repr(v.get<double>()); return;
    case Json::value_t::string: out += repr_text(v.get_ref<const std::string&>()); return;
    case Json::value_t::array: {
      out += '[';
      bool first = true;
      for (const auto& e : v) {
        if (!first) out += ", ";
        first = false;
        repr_into(e, out);
      }
      out += ']';
      return;
    }
    case Json::value_t::object: {
      out += '{';
      bool first = true;
      for (const auto& [k, e] : v.items()) {
        if (!first) out += ", ";
        first = false;
        if (!k.empty() && k[0] == kForeignKeyMark)
          out.append(k, 1);
        else
          out += repr_text(k);
        out += ": ";
        repr_into(e, out);
      }
      out += '}';
      return;
    }
    case Json::value_t::binary: out += foreign_text(v); return;
    default: out += v.dump(); return;
  }
}

// Decodes one UTF-8 code point at s[i]; returns its length (1 for a stray byte).
size_t decode(std::string_view s, size_t i, char32_t& cp) {
  unsigned char c = s[i];
  size_t len = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 1;
  if (i + len > s.size()) len = 1;
  if (len == 1) {
    cp = c;
    return 1;
  }
  cp = c & (0xff >> (len + 1));
  for (size_t k = 1; k < len; ++k) cp = (cp << 6) | (static_cast<unsigned char>(s[i + k]) & 0x3f);
  return len;
}

bool is_space(char32_t c) {
  return (c >= 0x09 && c <= 0x0d) || (c >= 0x1c && c <= 0x20) || c == 0x85 || c == 0xa0 ||
         c == 0x1680 || (c >= 0x2000 && c <= 0x200a) || c == 0x2028 || c == 0x2029 ||
         c == 0x202f || c == 0x205f || c == 0x3000;
}

// Checks Python's numeric-literal digits: underscores only between digits.
bool digits_ok(std::string_view d) {
  if (d.empty() || d.front() == '_' || d.back() == '_') return false;
  for (size_t i = 0; i < d.size(); ++i) {
    if (d[i] == '_') {
      if (d[i + 1] == '_') return false;
    } else if (d[i] < '0' || d[i] > '9') {
      return false;
    }
  }
  return true;
}

std::string without_underscores(std::string_view d) {
  std::string out;
  for (char c : d)
    if (c != '_') out += c;
  return out;
}

}  // namespace

std::string repr(const Json& v) {
  std::string out;
  repr_into(v, out);
  return out;
}

std::string str(const Json& v) {
  if (v.is_string()) return v.get<std::string>();
  if (v.is_binary()) return std::string(foreign_text(v));
  return repr(v);
}

long long to_int(std::string_view text) {
  std::string t = strip(text);
  auto fail = [&]() { return ValueError("invalid literal for int() with base 10: " + repr_text(text)); };
  std::string_view body = t;
  bool neg = false;
  if (!body.empty() && (body[0] == '+' || body[0] == '-')) {
    neg = body[0] == '-';
    body.remove_prefix(1);
  }
  if (!digits_ok(body)) throw fail();
  std::string d = without_underscores(body);
  long long value = 0;
  auto res = std::from_chars(d.data(), d.data() + d.size(), value);
  if (res.ec != std::errc()) throw ValueError("int() value out of range: " + repr_text(text));
  return neg ? -value : value;
}

double to_float(std::string_view text) {
  std::string t = strip(text);
  auto fail = [&]() { return ValueError("could not convert string to float: " + repr_text(text)); };
  std::string_view body = t;
  std::string sign;
  if (!body.empty() && (body[0] == '+' || body[0] == '-')) {
    if (body[0] == '-') sign = "-";
    body.remove_prefix(1);
  }
  std::string lower;
  for (char c : body) lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (lower == "inf" || lower == "infinity") return sign.empty() ? INFINITY : -INFINITY;
  if (lower == "nan") return NAN;
  // mantissa: digits [. digits] | . digits ; exponent: e [sign] digits
  size_t epos = lower.find('e');
  std::string_view mant = std::string_view(lower).substr(0, epos);
  std::string_view expo = epos == std::string::npos ? std::string_view() : std::string_view(lower).substr(epos + 1);
  size_t dot = mant.find('.');
  std::string_view ip = mant.substr(0, dot);
  std::string_view fp = dot == std::string_view::npos ? std::string_view() : mant.substr(dot + 1);
  bool has_dot = dot != std::string_view::npos;
  if (ip.empty() && fp.empty()) throw fail();
  if (!ip.empty() && !digits_ok(ip)) throw fail();
  if (has_dot && !fp.empty() && !digits_ok(fp)) throw fail();
  if (epos != std::string::npos) {
    std::string_view ed = expo;
    if (!ed.empty() && (ed[0] == '+' || ed[0] == '-')) ed.remove_prefix(1);
    if (!digits_ok(ed)) throw fail();
  }
  std::string clean = without_underscores(lower);
  // from_chars, unlike strtod, does not follow the process's locale (a harness may set one
  // whose decimal mark is a comma).
  double value = 0;
  auto res = std::from_chars(clean.data(), clean.data() + clean.size(), value);
  if (res.ec == std::errc::result_out_of_range) {
    // Python gives infinity past the largest double and zero below the smallest.
    bool tiny = clean.find("e-") != std::string::npos;
    value = tiny ? 0.0 : INFINITY;
  }
  return sign.empty() ? value : -value;
}

std::vector<std::string> split(std::string_view s) {
  std::vector<std::string> out;
  std::string cur;
  bool in_word = false;
  for (size_t i = 0; i < s.size();) {
    char32_t cp;
    size_t len = decode(s, i, cp);
    if (is_space(cp)) {
      if (in_word) out.push_back(std::move(cur));
      cur.clear();
      in_word = false;
    } else {
      cur.append(s.substr(i, len));
      in_word = true;
    }
    i += len;
  }
  if (in_word) out.push_back(std::move(cur));
  return out;
}

std::vector<std::string> split(std::string_view s, std::string_view sep) {
  if (sep.empty()) throw ValueError("empty separator");
  std::vector<std::string> out;
  size_t start = 0;
  while (true) {
    size_t pos = s.find(sep, start);
    if (pos == std::string_view::npos) {
      out.emplace_back(s.substr(start));
      return out;
    }
    out.emplace_back(s.substr(start, pos - start));
    start = pos + sep.size();
  }
}

std::string strip(std::string_view s) {
  size_t begin = 0, end = s.size();
  while (begin < end) {
    char32_t cp;
    size_t len = decode(s, begin, cp);
    if (!is_space(cp)) break;
    begin += len;
  }
  while (end > begin) {
    // step back to the start of the last code point
    size_t k = end - 1;
    while (k > begin && (static_cast<unsigned char>(s[k]) & 0xc0) == 0x80) --k;
    char32_t cp;
    decode(s, k, cp);
    if (!is_space(cp)) break;
    end = k;
  }
  return std::string(s.substr(begin, end - begin));
}

std::string replace(std::string_view s, std::string_view old_part, std::string_view new_part) {
  std::string out;
  if (old_part.empty()) {
    // Python inserts new_part between every character and at both ends.
    out.append(new_part);
    for (size_t i = 0; i < s.size();) {
      char32_t cp;
      size_t len = decode(s, i, cp);
      out.append(s.substr(i, len));
      out.append(new_part);
      i += len;
    }
    return out;
  }
  size_t start = 0;
  while (true) {
    size_t pos = s.find(old_part, start);
    if (pos == std::string_view::npos) break;
    out.append(s.substr(start, pos - start));
    out.append(new_part);
    start = pos + old_part.size();
  }
  out.append(s.substr(start));
  return out;
}

bool contains(std::string_view haystack, std::string_view needle) {
  return haystack.find(needle) != std::string_view::npos;
}

const char* type_name(const Json& v) {
  switch (v.type()) {
    case Json::value_t::null: return "NoneType";
    case Json::value_t::boolean: return "bool";
    case Json::value_t::number_integer:
    case Json::value_t::number_unsigned: return "int";
    case Json::value_t::number_float: return "float";
    case Json::value_t::string: return "str";
    case Json::value_t::array: return "list";
    case Json::value_t::object: return "dict";
    case Json::value_t::binary: return reinterpret_cast<const char*>(v.get_binary().data());
    default: return "object";
  }
}

bool in(const Json& needle, const Json& haystack) {
  if (haystack.is_string()) {
    if (!needle.is_string())
      throw TypeError(std::string("'in <string>' requires string as left operand, not ") + type_name(needle));
    return contains(haystack.get_ref<const std::string&>(), needle.get_ref<const std::string&>());
  }
  if (haystack.is_array()) {
    for (const auto& e : haystack)
      if (e == needle) return true;
    return false;
  }
  if (haystack.is_object()) {
    if (needle.is_array() || needle.is_object())
      throw TypeError(std::string("unhashable type: '") + type_name(needle) + "'");
    return needle.is_string() && haystack.contains(needle.get_ref<const std::string&>());
  }
  throw TypeError(std::string("argument of type '") + type_name(haystack) + "' is not iterable");
}

long long int_of_float(double v) {
  if (std::isnan(v)) throw ValueError("cannot convert float NaN to integer");
  if (std::isinf(v)) throw ValueError("cannot convert float infinity to integer");
  double t = std::trunc(v);
  // 2^63 is exactly representable; every double below it in magnitude fits in 64 bits.
  if (t >= 9223372036854775808.0 || t < -9223372036854775808.0)
    throw ValueError("int() value out of range: " + float_repr(v));
  return static_cast<long long>(t);
}

namespace {

void encode(char32_t cp, std::string& out) {
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xc0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3f));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xe0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3f));
    out += static_cast<char>(0x80 | (cp & 0x3f));
  } else {
    out += static_cast<char>(0xf0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3f));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3f));
    out += static_cast<char>(0x80 | (cp & 0x3f));
  }
}

char32_t upper_of(char32_t c) {
  if (c >= 'a' && c <= 'z') return c - 0x20;
  if (c == 0xb5) return 0x39c;                                        // micro sign -> capital mu
  if (c >= 0xe0 && c <= 0xfe && c != 0xf7) return c - 0x20;           // Latin-1 letters
  if (c == 0xff) return 0x178;
  if (c == 0x3c2) return 0x3a3;                                       // final sigma
  if (c >= 0x3b1 && c <= 0x3c9) return c - 0x20;                      // Greek
  if (c >= 0x430 && c <= 0x44f) return c - 0x20;                      // Cyrillic
  if (c >= 0x450 && c <= 0x45f) return c - 0x50;
  return c;
}

// Maps every character through `of`, re-encoding as UTF-8; a stray byte stays as it is.
// `sharp_s`, when given, replaces U+00DF (str.upper() turns it into two letters).
std::string map_letters(std::string_view s, char32_t (*of)(char32_t), const char* sharp_s) {
  std::string out;
  out.reserve(s.size());
  for (size_t i = 0; i < s.size();) {
    char32_t cp;
    size_t len = decode(s, i, cp);
    if (len == 1 && static_cast<unsigned char>(s[i]) >= 0x80) {
      out += s[i];
    } else if (cp == 0xdf && sharp_s) {
      out += sharp_s;
    } else if (len == 1) {
      out += static_cast<char>(of(cp));
    } else {
      encode(of(cp), out);
    }
    i += len;
  }
  return out;
}

}  // namespace

std::string upper(std::string_view s) { return map_letters(s, upper_of, "SS"); }

std::string format_list(std::string_view fmt, const std::vector<std::string>& args) {
  std::string out;
  size_t next = 0;
  for (size_t i = 0; i < fmt.size(); ++i) {
    if (fmt[i] == '%' && i + 1 < fmt.size()) {
      char c = fmt[i + 1];
      if (c == '%') {
        out += '%';
        ++i;
        continue;
      }
      if (c == 's' || c == 'd') {
        if (next >= args.size()) throw TypeError("not enough arguments for format string");
        out += args[next++];
        ++i;
        continue;
      }
    }
    out += fmt[i];
  }
  if (next != args.size()) throw TypeError("not all arguments converted during string formatting");
  return out;
}

namespace {

char32_t lower_of(char32_t c) {
  if (c >= 'A' && c <= 'Z') return c + 0x20;
  if (c >= 0xc0 && c <= 0xde && c != 0xd7) return c + 0x20;  // Latin-1 letters
  if (c == 0x178) return 0xff;
  if (c >= 0x391 && c <= 0x3a9 && c != 0x3a2) return c + 0x20;  // Greek
  if (c >= 0x410 && c <= 0x42f) return c + 0x20;                 // Cyrillic
  if (c >= 0x400 && c <= 0x40f) return c + 0x50;
  return c;
}

}  // namespace

std::string lower(std::string_view s) { return map_letters(s, lower_of, nullptr); }

std::string drop_last(std::string_view s) {
  if (s.empty()) return {};
  size_t i = s.size() - 1;
  // Step back over continuation bytes to the start of the last character.
  size_t floor = s.size() >= 4 ? s.size() - 4 : 0;
  while (i > floor && (static_cast<unsigned char>(s[i]) & 0xc0) == 0x80) --i;
  char32_t cp;
  if (decode(s, i, cp) != s.size() - i) i = s.size() - 1;  // a stray byte counts alone
  return std::string(s.substr(0, i));
}

std::string maps_text(const Json& maps) {
  if (!maps.is_array()) throw TypeError(std::string("a list of maps is wanted, not ") + type_name(maps));
  std::string out = "[";
  for (size_t i = 0; i < maps.size(); ++i) {
    const Json& map = maps[i];
    if (!map.is_object())
      throw TypeError(format("item %s of the list is no map but %s", i, type_name(map)));
    if (i) out += ", ";
    out += repr(map);  // {'k': 'v'}, pairs in the map's order
  }
  return out + "]";
}

}  // namespace marlet::py

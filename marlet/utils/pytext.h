// Python's meaning of text and values, for records and messages.
//
// Records and params are ordered_json; wherever a message or a log line embeds a value it
// reads as Python's str() would print it, and wherever an operation reads a number,
// splits or strips a text, it follows Python's int(), float(), str.split() and
// str.strip(). Every operation uses these helpers instead of C's looser parsers.
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace marlet {

using Json = nlohmann::ordered_json;

namespace py {

// Python truth: null, false, 0, 0.0, "", [] and {} are false.
bool truthy(const Json& value);

// params.get(key): the value, or null when the key is absent (or `map` is no map).
inline Json get(const Json& map, const std::string& key) {
  if (!map.is_object()) return nullptr;
  auto it = map.find(key);
  return it == map.end() ? Json(nullptr) : *it;
}

// str() and repr() of a value: None, True, False, 1.0, 'text', ['a', 'b'], {'k': 'v'}.
std::string str(const Json& value);
std::string repr(const Json& value);
std::string repr_text(std::string_view text);  // repr() of a str
std::string float_repr(double value);           // repr() of a float: 1.0, 0.1, 1e+16, inf

// int(text) and float(text); ValueError with Python's message when the text is no number.
long long to_int(std::string_view text);
double to_float(std::string_view text);

// str.split() on runs of white space (Unicode white space included), str.split(sep),
// str.strip(), str.replace(), `needle in haystack`.
std::vector<std::string> split(std::string_view text);
std::vector<std::string> split(std::string_view text, std::string_view sep);
std::string strip(std::string_view text);
std::string replace(std::string_view text, std::string_view old_part, std::string_view new_part);
bool contains(std::string_view haystack, std::string_view needle);

// type(value).__name__ for a record value: NoneType, bool, int, float, str, list, dict,
// or the name a foreign value carries.
const char* type_name(const Json& value);

// A value of the harness that has no record form (a set, a host object, an int beyond 64
// bits): it keeps its type's name and its str(), so that a message about it names its real
// type, and it equals only another foreign value of the same type and text.
Json foreign(const std::string& type_name, const std::string& text);

// A map key that was no text in Python (33, (1, 2)): stored as a text that no console or
// bench text can equal, and shown as Python's repr of the key.
std::string foreign_key(const std::string& key_repr);

// `needle in haystack` as Python evaluates it: substring for a str haystack (TypeError
// "'in <string>' requires string as left operand, not T" for a non-str needle), element
// equality for a list, key membership for a dict (a non-str needle is simply absent);
// TypeError "argument of type 'T' is not iterable" for null, bool and numbers.
bool in(const Json& needle, const Json& haystack);

// int() of a float: truncation towards zero. ValueError "cannot convert float NaN to
// integer"; for infinity Python raises OverflowError, which the platform has no kind for,
// so it is a ValueError with Python's text "cannot convert float infinity to integer";
// a finite value beyond 64 bits is "int() value out of range", as to_int() says it.
long long int_of_float(double value);

// str.upper(): ASCII, Latin-1, basic Greek and Cyrillic letters (the scripts a console
// or an operating system writes states in); "ß" becomes "SS" as in Python; every other
// character is left as it is.
std::string upper(std::string_view text);

// The text an argument of format() stands for: str() of it.
inline std::string format_arg(const Json& v) { return str(v); }
inline std::string format_arg(const std::string& v) { return v; }
inline std::string format_arg(std::string_view v) { return std::string(v); }
inline std::string format_arg(const char* v) { return v; }
inline std::string format_arg(bool v) { return v ? "True" : "False"; }
inline std::string format_arg(double v) { return float_repr(v); }
template <class T, std::enable_if_t<std::is_integral_v<T> && !std::is_same_v<T, bool>, int> = 0>
std::string format_arg(T v) { return std::to_string(v); }

std::string format_list(std::string_view fmt, const std::vector<std::string>& args);

// Python's "%s" formatting: each %s (or %d) takes the next argument's str(); "%%" is "%".
template <class... A>
std::string format(std::string_view fmt, const A&... args) {
  return format_list(fmt, std::vector<std::string>{format_arg(args)...});
}

// str.lower(): the inverse of upper() over the same letters (ASCII, Latin-1, basic
// Greek and Cyrillic); every other character is left as it is.
std::string lower(std::string_view text);

// text[:-1]: the text without its last character (a whole UTF-8 sequence); "" stays "".
std::string drop_last(std::string_view text);
// str() of a list of maps, as a record field holds it: "[{'k': 'v', 'n': None}, {...}]",
// "[]" for an empty list; keys and values read as Python's repr() shows them. TypeError
// when `maps` is no list or one of its items is no map.
std::string maps_text(const Json& maps);

}  // namespace py
}  // namespace marlet

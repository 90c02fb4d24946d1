// Key codes for send_keys, as W3C code points in UTF-8 (Selenium's Keys).
#pragma once

namespace webdriver::Keys {
inline constexpr const char* NULL_KEY = "\xEE\x80\x80";   // U+E000
inline constexpr const char* BACKSPACE = "\xEE\x80\x83";  // U+E003
inline constexpr const char* TAB = "\xEE\x80\x84";        // U+E004
inline constexpr const char* ENTER = "\xEE\x80\x87";      // U+E007
inline constexpr const char* SHIFT = "\xEE\x80\x88";      // U+E008
inline constexpr const char* CONTROL = "\xEE\x80\x89";    // U+E009
inline constexpr const char* ESCAPE = "\xEE\x80\x8C";     // U+E00C
inline constexpr const char* SPACE = "\xEE\x80\x8D";      // U+E00D
inline constexpr const char* PAGE_UP = "\xEE\x80\x8E";    // U+E00E
inline constexpr const char* PAGE_DOWN = "\xEE\x80\x8F";  // U+E00F
inline constexpr const char* END = "\xEE\x80\x90";        // U+E010
inline constexpr const char* HOME = "\xEE\x80\x91";       // U+E011
inline constexpr const char* LEFT = "\xEE\x80\x92";       // U+E012
inline constexpr const char* UP = "\xEE\x80\x93";         // U+E013
inline constexpr const char* RIGHT = "\xEE\x80\x94";      // U+E014
inline constexpr const char* DOWN = "\xEE\x80\x95";       // U+E015
inline constexpr const char* DELETE = "\xEE\x80\x97";     // U+E017
}  // namespace webdriver::Keys

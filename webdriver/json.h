#pragma once
#include <nlohmann/json.hpp>

namespace webdriver {
using Json = nlohmann::ordered_json;
// The W3C key under which an element reference travels.
inline constexpr const char* kElementKey = "element-6066-11e4-a52e-4f735466cecf";
}  // namespace webdriver

// The Python helpers the comparisons added to the platform: `in`, int() of a float, upper().
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "marlet/exception/exceptions.h"
#include "marlet/utils/pytext.h"

namespace py = marlet::py;
using marlet::Json;
using ::testing::ThrowsMessage;

TEST(PythonSemantics, InFollowsPythonForEachKindOfContainer) {
  struct Case {
    Json needle, haystack;
    bool expected;
  } cases[] = {
      {"", "abc", true},          {"bc", "abc", true},       {"abcd", "abc", false},
      {"中文", "有中文的", true},  {1, Json::array({1.0, "x"}), true}, {"1", Json::array({1}), false},
      {"k", {{"k", nullptr}}, true}, {1, {{"1", 0}}, false},
  };
  for (const auto& c : cases) EXPECT_EQ(py::in(c.needle, c.haystack), c.expected) << c.needle << " in " << c.haystack;

  struct Bad {
    Json needle, haystack;
    const char* message;
  } bad[] = {
      {"a", nullptr, "argument of type 'NoneType' is not iterable"},
      {"a", 3.5, "argument of type 'float' is not iterable"},
      {nullptr, "abc", "'in <string>' requires string as left operand, not NoneType"},
      {Json::array(), {{"k", 1}}, "unhashable type: 'list'"},
  };
  for (const auto& b : bad) EXPECT_THAT([&] { py::in(b.needle, b.haystack); }, ThrowsMessage<marlet::TypeError>(b.message));
}

TEST(PythonSemantics, IntOfFloatTruncatesTowardsZeroOrRefuses) {
  EXPECT_EQ(py::int_of_float(1.2 * 1000), 1200);
  EXPECT_EQ(py::int_of_float(1199.99), 1199);
  EXPECT_EQ(py::int_of_float(-2.7), -2);
  EXPECT_EQ(py::int_of_float(-0.5), 0);
  struct Bad {
    double value;
    const char* message;
  } bad[] = {{NAN, "cannot convert float NaN to integer"},
             {INFINITY, "cannot convert float infinity to integer"},
             {1e19, "int() value out of range: 1e+19"}};
  for (const auto& b : bad) EXPECT_THAT([&] { py::int_of_float(b.value); }, ThrowsMessage<marlet::ValueError>(b.message));
}

TEST(PythonSemantics, UpperMatchesPythonOnTheScriptsItKnows) {
  struct Case {
    const char* text;
    const char* expected;
  } cases[] = {{"Online, Spun Up", "ONLINE, SPUN UP"}, {"straße", "STRASSE"}, {"éàÿ µ", "ÉÀŸ Μ"},
               {"ωσς", "ΩΣΣ"},                          {"жёлтый", "ЖЁЛТЫЙ"},  {"中文 x1", "中文 X1"}};
  for (const auto& c : cases) EXPECT_EQ(py::upper(c.text), c.expected);
}

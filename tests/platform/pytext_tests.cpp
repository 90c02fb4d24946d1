#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "marlet/exception/exceptions.h"
#include "marlet/utils/pytext.h"

namespace py = marlet::py;
using marlet::Json;
using ::testing::ThrowsMessage;

TEST(PyTextTests, StrAndReprReadAsPythonPrintsThem) {
  struct Row {
    Json value;
    const char* str;
    const char* repr;
  } rows[] = {
      {nullptr, "None", "None"},
      {true, "True", "True"},
      {12, "12", "12"},
      {1.0, "1.0", "1.0"},
      {1e16, "1e+16", "1e+16"},
      {123456789012345.6, "123456789012345.6", "123456789012345.6"},
      {0.00001, "1e-05", "1e-05"},
      {-2.5, "-2.5", "-2.5"},
      {"a", "a", "'a'"},
      {"it's", "it's", "\"it's\""},
      {"both ' and \"", "both ' and \"", "'both \\' and \"'"},
      {"中文", "中文", "'中文'"},
      // repr() escapes what str.isprintable() refuses: separators other than the blank,
      // controls and format characters, as pages and OS records do hold them.
      {"1\u00a0GB\u3000x\u200b\u0085", "1\u00a0GB\u3000x\u200b\u0085", "'1\\xa0GB\\u3000x\\u200b\\x85'"},
      {py::foreign("set", "{'a'}"), "{'a'}", "{'a'}"},
      {{{py::foreign_key("33"), "row"}}, "{33: 'row'}", "{33: 'row'}"},
      {Json::array({"a", "b"}), "['a', 'b']", "['a', 'b']"},
      {Json::parse(R"({"k": "v", "n": [1, null]})"), "{'k': 'v', 'n': [1, None]}", "{'k': 'v', 'n': [1, None]}"},
  };
  for (const auto& r : rows) {
    EXPECT_EQ(py::str(r.value), r.str) << r.value.dump();
    EXPECT_EQ(py::repr(r.value), r.repr) << r.value.dump();
  }
}

TEST(PyTextTests, ForeignValuesKeepTheirTypeAndMatchNoText) {
  Json big = py::foreign("int", "123456789012345678901234567890");
  EXPECT_STREQ(py::type_name(big), "int");
  EXPECT_NE(big, Json("123456789012345678901234567890")) << "equality stays typed";
  EXPECT_EQ(big, py::foreign("int", "123456789012345678901234567890"));
  Json table = {{py::foreign_key("33"), "row"}};
  EXPECT_FALSE(table.contains("33")) << "a key 33 is not found by the text '33'";
}

TEST(PyTextTests, TruthFollowsPython) {
  for (const Json& v : {Json(nullptr), Json(false), Json(0), Json(0.0), Json(""), Json::array(), Json::object()})
    EXPECT_FALSE(py::truthy(v)) << v.dump();
  for (const Json& v : {Json(true), Json(-1), Json(0.5), Json(" "), Json::array({0}), Json({{"a", nullptr}})})
    EXPECT_TRUE(py::truthy(v)) << v.dump();
}

TEST(PyTextTests, IntAcceptsOnlyWhatPythonIntAccepts) {
  EXPECT_EQ(py::to_int(" 12 "), 12);
  EXPECT_EQ(py::to_int("-7"), -7);
  EXPECT_EQ(py::to_int("+1_000"), 1000);
  EXPECT_EQ(py::to_int("\xc2\xa0" "5\n"), 5);  // non-breaking space is white space to Python
  for (const char* bad : {"1.2", "", "0x10", "1__0", "_1", "- 1"})
    EXPECT_THAT([&] { py::to_int(bad); },
                ThrowsMessage<marlet::ValueError>("invalid literal for int() with base 10: " + py::repr_text(bad)));
}

TEST(PyTextTests, FloatAcceptsOnlyWhatPythonFloatAccepts) {
  EXPECT_DOUBLE_EQ(py::to_float("1e3"), 1000.0);
  EXPECT_DOUBLE_EQ(py::to_float(" 1.5 "), 1.5);
  EXPECT_DOUBLE_EQ(py::to_float(".5"), 0.5);
  EXPECT_DOUBLE_EQ(py::to_float("-1_0.2_5"), -10.25);
  EXPECT_TRUE(std::isinf(py::to_float("-Infinity")));
  EXPECT_TRUE(std::isnan(py::to_float("nan")));
  for (const char* bad : {"", ".", "1.2.3", "e5", "1e", "12GB", "0x1p3", "1,5"})
    EXPECT_THAT([&] { py::to_float(bad); },
                ThrowsMessage<marlet::ValueError>("could not convert string to float: " + py::repr_text(bad)));
}

TEST(PyTextTests, SplitAndStripKnowUnicodeWhiteSpace) {
  EXPECT_EQ(py::split("  a \t b\n"), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(py::split("16\xe3\x80\x80GB"), (std::vector<std::string>{"16", "GB"}));  // ideographic space
  EXPECT_TRUE(py::split(" \xc2\xa0 ").empty());
  EXPECT_EQ(py::split("a,,b", ","), (std::vector<std::string>{"a", "", "b"}));
  EXPECT_EQ(py::strip("\xc2\xa0 中文 \xe3\x80\x80"), "中文");
  EXPECT_EQ(py::strip("  "), "");
  EXPECT_EQ(py::replace("1 GB 2 GB", " GB", "G"), "1G 2G");
  EXPECT_EQ(py::replace("ab", "", "-"), "-a-b-");
}

TEST(PyTextTests, PercentFormatFillsInOrderAndCountsArguments) {
  EXPECT_EQ(py::format("%s://%s:%d/login.html", "https", "10.0.0.1", 443), "https://10.0.0.1:443/login.html");
  EXPECT_EQ(py::format("%s of 100%%", Json(nullptr)), "None of 100%");
  EXPECT_EQ(py::format("标准:%s 实际:%s", "a", Json::array({"b"})), "标准:a 实际:['b']");
  EXPECT_THROW(py::format("%s %s", "one"), marlet::TypeError);
  EXPECT_THROW(py::format("%s", "one", "two"), marlet::TypeError);
}

#pragma once

#include <gtest/gtest.h>

#include <functional>

#include "marlet/exception/exceptions.h"
#include "marlet/log/logger.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

using marlet::Json;

class ComparisonTest : public ::testing::Test {
 protected:
  std::shared_ptr<marlet::RecordingLogger> log = std::make_shared<marlet::RecordingLogger>();
  vorna::VornaWebWrapper w{Json::object(), log};

  // Runs `call` and returns the WebDisplayException's text ("" when nothing is raised);
  // any other failure fails the test.
  static std::string display_failure(const std::function<void()>& call) {
    try {
      call();
    } catch (const marlet::WebDisplayException& e) {
      return e.what();
    }
    return "";
  }
};

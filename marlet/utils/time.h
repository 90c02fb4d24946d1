// All waiting goes through a Clock: settles, explicit waits and polls.
//
// The clock is the browser client's (webdriver/clock.h): the platform names the same
// types and the same process clock, so that a settle of an operation, a wait of the
// element layer and a read of the browser's answer share one pace (set_time_scale) and
// one sleep check (Ctrl-C). Unit tests use FakeClock, which never waits and records
// every sleep.
#pragma once

#include <string>

#include "webdriver/clock.h"

namespace marlet {

using webdriver::Clock;
using webdriver::FakeClock;
using webdriver::ScaledClock;

using webdriver::kSleepSlice;
using webdriver::process_clock;
using webdriver::run_sleep_check;
using webdriver::set_sleep_check;
using webdriver::SleepCheck;
using webdriver::time_scale;

// Sets the pace of the process clock: factor > 0 and finite; ValueError otherwise.
void set_time_scale(double factor);

// The wall clock's local time now, to the millisecond, as "20261124-201530-123": the
// stamp of pictures' and traces' file names and of a trace's header.
std::string local_timestamp();

}  // namespace marlet

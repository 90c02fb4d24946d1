// Umbrella header of the browser client.
#pragma once
#include "webdriver/by.h"
#include "webdriver/element.h"
#include "webdriver/errors.h"
#include "webdriver/keys.h"
#include "webdriver/launcher.h"
#include "webdriver/session.h"
#include "webdriver/support/expected_conditions.h"
#include "webdriver/support/select.h"
#include "webdriver/support/wait.h"

// What nearly every test uses.
#pragma once

#include "support/kxFatalText.h"
#include "support/kxMessageRecorder.h"
#include "support/kxTempDirectory.h"
#include "support/kxTestPattern.h"
#include "support/kxTestRandom.h"
#include "support/kxTestRows.h"
#include "support/kxTestTransfer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

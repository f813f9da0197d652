// What every test includes: the test framework, the interface of the libraries, and what the tests
// share. Other headers stand in the tests that need them.
#ifndef NORVANE_TESTS_TEST_H
#define NORVANE_TESTS_TEST_H

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "norvane/base.h"
#include "norvane/base/items.hpp"
#include "norvane/proj.h"
#include "support.h"

#endif

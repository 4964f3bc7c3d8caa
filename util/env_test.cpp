#include "util/env.h"

#include <gtest/gtest.h>

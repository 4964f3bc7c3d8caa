#include "util/cmdline.h"

#include <gtest/gtest.h>

#include "util/manifest.h"

#include <gtest/gtest.h>

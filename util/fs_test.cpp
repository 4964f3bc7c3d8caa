#include "util/fs.h"

#include <gtest/gtest.h>

#include "driver/args.h"

#include <gtest/gtest.h>

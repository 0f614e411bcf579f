#include <gtest/gtest.h>
#include "chartcalc.h"
TEST(Smoke, Builds) { EXPECT_EQ(SVector(3).GetSize(), 3); }

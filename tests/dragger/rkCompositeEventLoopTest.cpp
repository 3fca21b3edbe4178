#include <gtest/gtest.h>
TEST(Placeholder, Builds) {}

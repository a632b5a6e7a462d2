#include <gtest/gtest.h>
#include "model/IRJson.h"
TEST(Placeholder, Builds) { EXPECT_EQ(vantrel::rawValue(vantrel::SymbolKind::classType), "class"); }

// The report channel's numbers must be printf's, digit for digit.

#include "cli/output.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace vtl {
namespace {

TEST(Output, DecimalsAreThoseOfPrintf) {
  std::vector<std::int32_t> values = {
      0,    1,    9,     10,    11,     99,      100,       101,        999,
      1000, 9999, 10000, 99999, 100000, 1000000, 999999999, INT_MAX,    -1,
      -9,   -10,  -99,   -100,  -101,   -123456, INT_MIN,   INT_MIN + 1};
  std::mt19937 random(3);
  for (int i = 0; i < 2000; ++i) {
    values.push_back(static_cast<std::int32_t>(random()) >> (random() % 31));
  }
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  Output o;
  o.redirect(ends[1]);
  std::string expected;
  for (std::int32_t v : values) {
    o.decimal(v);
    o.character('\n');
    char digits[16];
    std::snprintf(digits, sizeof digits, "%d\n", v);
    expected += digits;
  }
  ASSERT_TRUE(o.flush());
  ::close(ends[1]);
  std::string text;
  char block[4096];
  for (ssize_t got; (got = ::read(ends[0], block, sizeof block)) > 0;) text.append(block, got);
  ::close(ends[0]);
  EXPECT_EQ(text, expected);
}

}  // namespace
}  // namespace vtl

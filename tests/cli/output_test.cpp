// The report channel's numbers must be printf's, digit for digit.

#include "cli/output.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace vtl {
namespace {

// Reads back everything written to a temporary file.
std::string contents(std::FILE* file) {
  std::rewind(file);
  std::string text;
  char block[4096];
  for (std::size_t got; (got = std::fread(block, 1, sizeof block, file)) > 0;) {
    text.append(block, got);
  }
  return text;
}

TEST(Output, DecimalsAreThoseOfPrintf) {
  std::vector<std::int32_t> values = {
      0,    1,    9,     10,    11,     99,      100,       101,        999,
      1000, 9999, 10000, 99999, 100000, 1000000, 999999999, INT_MAX,    -1,
      -9,   -10,  -99,   -100,  -101,   -123456, INT_MIN,   INT_MIN + 1};
  std::mt19937 random(3);
  for (int i = 0; i < 2000; ++i) {
    values.push_back(static_cast<std::int32_t>(random()) >> (random() % 31));
  }
  std::FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  Output o;
  o.redirect(fileno(file));
  std::string expected;
  for (std::int32_t v : values) {
    o.decimal(v);
    o.character('\n');
    char digits[16];
    std::snprintf(digits, sizeof digits, "%d\n", v);
    expected += digits;
  }
  // The longest values again with every room from none to 13 bytes left at
  // the end of the buffer, where a number is split between two writes.
  for (std::size_t room = 0; room <= 13; ++room) {
    for (std::int32_t v : {INT_MIN, INT_MAX, -1, 7, 123456789}) {
      const std::size_t used = expected.size() % Output::kBufferSize;
      const std::string filler((2 * Output::kBufferSize - used - room) % Output::kBufferSize, '.');
      o.text(filler);
      o.decimal(v);
      expected += filler + std::to_string(v);
    }
  }
  ASSERT_TRUE(o.flush());
  EXPECT_EQ(contents(file), expected);
  std::fclose(file);
}

}  // namespace
}  // namespace vtl

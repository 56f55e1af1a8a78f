#include "features/merge_sort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "test_util.h"

namespace vtl {
namespace {

using test::bits;
using test::kNaN;

std::vector<std::uint32_t> bit_patterns(const std::vector<float>& v) {
  std::vector<std::uint32_t> out;
  for (float f : v) out.push_back(bits(f));
  return out;
}

std::vector<float> sorted_with_merge(std::vector<float> v) {
  std::vector<float> tmp(v.size());
  sort_range(v.data(), tmp.data(), 0, static_cast<std::uint16_t>(v.size() - 1));
  return v;
}

TEST(MergeSort, SmallBuffersAndTheOrderOfEqualValues) {
  EXPECT_EQ(bit_patterns({1.0f, 2.0f, 3.0f}), bit_patterns(sorted_with_merge({3.0f, 1.0f, 2.0f})));
  // Equal values from the right run go first, which shows with the two zeros.
  EXPECT_EQ(bit_patterns({-0.0f, 0.0f, 1.0f}),
            bit_patterns(sorted_with_merge({1.0f, 0.0f, -0.0f})));
  EXPECT_EQ(bit_patterns({0.0f, -0.0f, 1.0f, 2.0f}),
            bit_patterns(sorted_with_merge({2.0f, -0.0f, 0.0f, 1.0f})));
  // Halves already in order: no merge.
  EXPECT_EQ(bit_patterns({0.0f, -0.0f}), bit_patterns(sorted_with_merge({0.0f, -0.0f})));
  // Nothing is greater than a NaN and a NaN is greater than nothing.
  EXPECT_EQ(bit_patterns({5.0f, kNaN, 1.0f, 3.0f}),
            bit_patterns(sorted_with_merge({5.0f, kNaN, 1.0f, 3.0f})));
}

TEST(MergeSort, RandomBuffersStayInsideTheirRange) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<float> dist(-100.0f, 100.0f);
  const float guard = 12345.0f;
  for (std::uint16_t len : {2, 3, 5, 16, 17, 100, 1023}) {
    const std::uint16_t lo = 3;
    std::vector<float> a(lo + len + 3, guard);
    for (std::uint16_t i = 0; i < len; ++i) a[lo + i] = dist(rng);
    std::vector<float> expect(a);
    std::stable_sort(expect.begin() + lo, expect.begin() + lo + len);
    std::vector<float> tmp(len + 4, guard);  // only tmp[0 .. len - 1] may change
    merge_sort_range(a.data(), tmp.data(), lo, static_cast<std::uint16_t>(lo + len - 1));
    EXPECT_EQ(expect, a) << "length " << len;
    for (std::size_t i = len; i < tmp.size(); ++i) EXPECT_EQ(guard, tmp[i]);
  }
}

TEST(MergeSort, DegenerateRangesReadNothing) {
  // Null buffers: any read or write would crash.
  merge_sort_range(nullptr, nullptr, 5, 5);
  merge_sort_range(nullptr, nullptr, 9, 2);
  sort_range(nullptr, nullptr, 4, 4);
  sort_range(nullptr, nullptr, 65535, 0);
  sorted_copy(nullptr, nullptr, nullptr, 0);
  merge_runs(nullptr, nullptr, 4, 4, 4);   // no right run
  merge_runs(nullptr, nullptr, 6, 5, 9);   // no left run
  merge_runs(nullptr, nullptr, 0, 65535, 65535);

  const float src[] = {4.0f};
  float dst[] = {0.0f};
  sorted_copy(src, dst, nullptr, 1);  // copied, not sorted: no scratch needed
  EXPECT_EQ(4.0f, dst[0]);
}

TEST(MergeSort, RangeEndingAtTheLastSixteenBitIndex) {
  std::vector<float> a(65536);
  for (std::size_t i = 0; i < a.size(); ++i) a[i] = static_cast<float>(a.size() - i);
  std::vector<float> tmp(a.size());
  sort_range(a.data(), tmp.data(), 0, 65535);
  EXPECT_TRUE(std::is_sorted(a.begin(), a.end()));
  EXPECT_EQ(1.0f, a.front());
  EXPECT_EQ(65536.0f, a.back());
}

TEST(MergeSort, MergeRunsAndSortedCopy) {
  float a[] = {9.0f, 1.0f, 4.0f, 0.0f, 4.0f, 5.0f, 9.0f};
  float tmp[4];
  merge_runs(a, tmp, 1, 2, 4);  // (1, 4) with (0, 4)
  const float merged[] = {9.0f, 0.0f, 1.0f, 4.0f, 4.0f, 5.0f, 9.0f};
  for (int i = 0; i < 7; ++i) EXPECT_EQ(merged[i], a[i]);

  const float src[] = {3.0f, -1.0f, 2.0f, 2.0f};
  float dst[4];
  float scratch[4];
  sorted_copy(src, dst, scratch, 4);
  EXPECT_EQ((std::vector<float>{-1.0f, 2.0f, 2.0f, 3.0f}), std::vector<float>(dst, dst + 4));
  EXPECT_EQ((std::vector<float>{3.0f, -1.0f, 2.0f, 2.0f}), std::vector<float>(src, src + 4));
}

TEST(Reordering, ReverseBlocksAndSwap) {
  std::vector<float> v{1, 2, 3, 4, 5, 6};
  reverse_blocks(v.data(), 2, 3);
  EXPECT_EQ((std::vector<float>{3, 2, 1, 6, 5, 4}), v);
  reverse_blocks(v.data(), 3, 2);
  EXPECT_EQ((std::vector<float>{2, 3, 6, 1, 4, 5}), v);
  reverse_blocks(v.data(), 6, 1);
  reverse_blocks(v.data(), 0, 6);
  reverse_blocks(v.data(), -1, 6);
  EXPECT_EQ((std::vector<float>{2, 3, 6, 1, 4, 5}), v);
  reverse_blocks(nullptr, 5, 0);
  reverse_blocks(nullptr, -5, 100);

  float a = 1.5f, b = -2.0f;
  swap_values(&a, &b);
  EXPECT_EQ(-2.0f, a);
  EXPECT_EQ(1.5f, b);
}

}  // namespace
}  // namespace vtl

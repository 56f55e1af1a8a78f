#include "features/merge_sort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "test_util.h"

namespace vtl {
namespace {

using test::kNaN;

// Bit patterns, so that 0.0 and -0.0 (and NaN) are told apart.
std::vector<std::uint32_t> bits_of(const std::vector<float>& v) {
  std::vector<std::uint32_t> out;
  for (float f : v) out.push_back(test::bits(f));
  return out;
}

std::vector<std::uint32_t> sorted_bits(std::vector<float> v) {
  std::vector<float> tmp(v.size());
  sort_range(v.data(), tmp.data(), 0, static_cast<std::uint16_t>(v.size() - 1));
  return bits_of(v);
}

TEST(MergeSort, EqualValuesFromTheRightRunGoFirst) {
  EXPECT_EQ(bits_of({1.0f, 2.0f, 3.0f}), sorted_bits({3.0f, 1.0f, 2.0f}));
  EXPECT_EQ(bits_of({-0.0f, 0.0f, 1.0f}), sorted_bits({1.0f, 0.0f, -0.0f}));
  EXPECT_EQ(bits_of({0.0f, -0.0f, 1.0f, 2.0f}), sorted_bits({2.0f, -0.0f, 0.0f, 1.0f}));
  EXPECT_EQ(bits_of({0.0f, -0.0f}), sorted_bits({0.0f, -0.0f}));  // in order: no merge
  EXPECT_EQ(bits_of({5.0f, kNaN, 1.0f, 3.0f}), sorted_bits({5.0f, kNaN, 1.0f, 3.0f}));
}

TEST(MergeSort, RandomRangesAgreeWithAStableSortAndStayInside) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<float> dist(-100.0f, 100.0f);
  const float guard = 12345.0f;
  for (std::uint16_t len : {2, 3, 17, 1023}) {
    const std::uint16_t lo = 3;
    std::vector<float> a(lo + len + 3, guard), tmp(len + 4, guard);
    for (std::uint16_t i = 0; i < len; ++i) a[lo + i] = dist(rng);
    std::vector<float> expect(a);
    std::stable_sort(expect.begin() + lo, expect.begin() + lo + len);
    merge_sort_range(a.data(), tmp.data(), lo, static_cast<std::uint16_t>(lo + len - 1));
    EXPECT_EQ(expect, a) << "length " << len;
    EXPECT_EQ(guard, tmp[len]);
  }
  // A range ending at index 65535 holds 65536 values and still terminates.
  std::vector<float> big(65536), scratch(65536);
  for (std::size_t i = 0; i < big.size(); ++i) big[i] = static_cast<float>(big.size() - i);
  sort_range(big.data(), scratch.data(), 0, 65535);
  EXPECT_TRUE(std::is_sorted(big.begin(), big.end()));
}

TEST(MergeSort, DegenerateArgumentsReadNothing) {
  // Null buffers: any read or write would crash.
  merge_sort_range(nullptr, nullptr, 5, 5);
  merge_sort_range(nullptr, nullptr, 9, 2);
  sort_range(nullptr, nullptr, 65535, 0);
  sorted_copy(nullptr, nullptr, nullptr, 0);
  merge_runs(nullptr, nullptr, 4, 4, 4);  // no right run
  merge_runs(nullptr, nullptr, 6, 5, 9);  // left run outside the range
  reverse_blocks(nullptr, 5, 1);
  reverse_blocks(nullptr, -5, 100);
  const float src[] = {4.0f};
  float dst[] = {0.0f};
  sorted_copy(src, dst, nullptr, 1);  // copied, not sorted: no scratch needed
  EXPECT_EQ(4.0f, dst[0]);

  std::vector<float> v{1, 2, 3, 4, 5, 6};
  reverse_blocks(v.data(), 2, 3);
  EXPECT_EQ((std::vector<float>{3, 2, 1, 6, 5, 4}), v);
}

}  // namespace
}  // namespace vtl

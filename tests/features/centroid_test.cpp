#include "features/centroid.h"

#include <gtest/gtest.h>

#include <cmath>

#include "test_util.h"

namespace vtl {
namespace {

TEST(CentroidDistances, OwnCentroidOrGivenCenter) {
  const float data[] = {0.0f, 0.0f, 3.0f, 4.0f, 6.0f, 8.0f};
  float center[2] = {-1.0f, -1.0f};
  float dist[3];
  centroid_distances(data, dist, center, 3, 2, 0);
  EXPECT_EQ(3.0f, center[0]);
  EXPECT_EQ(4.0f, center[1]);
  EXPECT_EQ(5.0f, dist[0]);
  EXPECT_EQ(0.0f, dist[1]);
  EXPECT_EQ(5.0f, dist[2]);

  float origin[2] = {0.0f, 0.0f};
  centroid_distances(data, dist, origin, 3, 2, 1);
  EXPECT_EQ(0.0f, dist[0]);
  EXPECT_EQ(5.0f, dist[1]);
  EXPECT_EQ(10.0f, dist[2]);
  EXPECT_EQ(0.0f, origin[0]);
  EXPECT_EQ(0.0f, origin[1]);

  const float column[] = {0.0f, 2.0f};
  float mid = 0.0f;
  float d2[2];
  centroid_distances(column, d2, &mid, 2, 1, 0);
  EXPECT_EQ(1.0f, mid);
  EXPECT_EQ(1.0f, d2[0]);
  EXPECT_EQ(1.0f, d2[1]);
}

TEST(CentroidDistances, ColumnMeanSumsRowsInOrder) {
  // 1e8 + 1 + 1 stays 1e8 in single precision when added row by row.
  const float data[] = {1e8f, 1.0f, 1.0f, -1e8f};
  float center = 0.0f;
  float dist[4];
  centroid_distances(data, dist, &center, 4, 1, 0);
  EXPECT_FLOAT_BITS(0.0f, center);
}

TEST(CentroidDistances, EmptyShapes) {
  float dist[2] = {7.0f, 7.0f};
  float center = 9.0f;
  const float data[] = {1.0f, 2.0f};
  centroid_distances(data, dist, nullptr, 2, 0, 0);  // no column: center not touched
  EXPECT_EQ(0.0f, dist[0]);
  EXPECT_EQ(0.0f, dist[1]);

  centroid_distances(nullptr, nullptr, &center, 0, 3, 0);  // no row: nothing read or written
  EXPECT_EQ(9.0f, center);

  const float with_nan[] = {1.0f, std::nanf(""), 4.0f, 4.0f};
  float c2[2];
  float d2[2];
  centroid_distances(with_nan, d2, c2, 2, 2, 0);
  EXPECT_EQ(2.5f, c2[0]);
  EXPECT_TRUE(std::isnan(c2[1]));
  EXPECT_TRUE(std::isnan(d2[0]));
  EXPECT_TRUE(std::isnan(d2[1]));
}

}  // namespace
}  // namespace vtl

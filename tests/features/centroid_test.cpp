#include "features/centroid.h"

#include <gtest/gtest.h>

#include <vector>

namespace vtl {
namespace {

TEST(CentroidDistances, OwnCentroidGivenCenterAndEmptyShapes) {
  const float data[] = {0.0f, 0.0f, 3.0f, 4.0f, 6.0f, 8.0f};
  float center[2] = {-1.0f, -1.0f};
  float dist[3];
  centroid_distances(data, dist, center, 3, 2, 0);
  EXPECT_EQ(3.0f, center[0]);
  EXPECT_EQ(4.0f, center[1]);
  EXPECT_EQ((std::vector<float>{5.0f, 0.0f, 5.0f}), std::vector<float>(dist, dist + 3));

  float origin[2] = {0.0f, 0.0f};
  centroid_distances(data, dist, origin, 3, 2, 1);
  EXPECT_EQ((std::vector<float>{0.0f, 5.0f, 10.0f}), std::vector<float>(dist, dist + 3));
  EXPECT_EQ(0.0f, origin[0]);

  float none = 9.0f;
  centroid_distances(data, dist, nullptr, 3, 0, 0);  // no column: center not touched
  EXPECT_EQ((std::vector<float>{0.0f, 0.0f, 0.0f}), std::vector<float>(dist, dist + 3));
  centroid_distances(nullptr, nullptr, &none, 0, 3, 0);  // no row: nothing read or written
  EXPECT_EQ(9.0f, none);
}

}  // namespace
}  // namespace vtl

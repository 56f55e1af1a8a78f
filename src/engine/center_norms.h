#pragma once
// The norms of the cluster centers, as the angle measure takes them, kept while
// a center stays bit for bit the same: learning and scoring compare every
// center with many signals between two changes of it.

namespace vtl {

// angle_norm of cluster_table[slot].center (slot < 10).
float center_norm(unsigned slot);

}  // namespace vtl
